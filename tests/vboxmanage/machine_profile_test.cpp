// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

#include <vmtools/vmtemplate.h>

namespace {

QStringList set(const QString &key, const QString &value)
{
    return {"guestproperty", "set", "phone", key, value};
}

// Every write succeeds.
class MachineProfileTest : public MachineTest
{
protected:
    void build(const QString &properties)
    {
        MachineTest::build(properties);
        m_standIn.onPrefix({"guestproperty", "set", "phone"}, {Answer::ok()});
        m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});
    }
};

} // namespace

TEST_F(MachineProfileTest, MissingAndOddValuesReadAsDefaults)
{
    build("No properties found.\n");
    EXPECT_EQ(m_machine->getResolution(), QSize(1024, 600));
    EXPECT_EQ(m_machine->getDensity(), "120");
    EXPECT_EQ(m_machine->getDeviceId(), "000000000000000");
    EXPECT_EQ(m_machine->getDeviceVersion(), 0);
    EXPECT_FALSE(m_machine->isFullScreen());
    EXPECT_FALSE(m_machine->isFullHX());

    build(guestProperty("vbox_graph_mode", "800x1280-32") + guestProperty("vkeyboard_mode", "1") +
          guestProperty("datadisk_size", "abc") + guestProperty("quillomate_full_screen", "Yes") +
          guestProperty("quillomate_device_id", "[none]") + guestProperty("hardware_opengl", "1") +
          guestProperty("hardware_opengl_disable_render", "1"));
    EXPECT_EQ(m_machine->getResolution(), QSize(0, 0));
    EXPECT_FALSE(m_machine->getVirtualKeyboardOption());
    EXPECT_EQ(m_machine->getDataDiskSize(), 0u);
    EXPECT_FALSE(m_machine->isFullScreen());
    EXPECT_EQ(m_machine->getDeviceId(), "");
    EXPECT_TRUE(m_machine->isHX());
    EXPECT_FALSE(m_machine->isFullHX());
    EXPECT_TRUE(m_standIn.calls().isEmpty());
}

// Resolution, device id and full screen are written by the host-style test.
TEST_F(MachineProfileTest, SettersWriteTheGuestsEncodingsAndFailedWritesKeepTheCache)
{
    build(guestProperty("hardware_opengl", "0") + guestProperty("android_version", "7.1"));
    const QDateTime released(QDate(2024, 6, 3), QTime(9, 14, 7));
    m_machine->setReleaseDate(released);
    m_machine->setVirtualKeyboardOption(true);
    m_machine->setProductSerial("HT7A1");
    m_machine->setProductType("user");
    // Each product value to its own property.
    m_machine->setProductName("n");
    m_machine->setProductModel("m");
    m_machine->setProductManufacturer("f");
    m_machine->setProductBrand("b");
    m_machine->setProductBoard("o");
    m_machine->setProductDevice("d");
    m_machine->setProductFingerPrint("p");
    m_machine->setProductTags("t");
    // Full acceleration turns the basic one on, but turning it off leaves the basic one on.
    EXPECT_TRUE(m_machine->setFullHX(true));
    EXPECT_TRUE(m_machine->isFullHX());
    EXPECT_TRUE(m_machine->setFullHX(false));
    EXPECT_TRUE(m_machine->isHX());
    EXPECT_FALSE(m_machine->isFullHX());

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{
                  set("release_date", "Mon Jun 3 09:14:07 2024"), set("vkeyboard_mode", "2"),
                  set("serialno", "HT7A1"), set("build_type", "user"), set("product_name", "n"),
                  set("product_model", "m"), set("product_manufacturer", "f"),
                  set("product_brand", "b"), set("product_board", "o"), set("product_device", "d"),
                  set("build_fingerprint", "p"), set("build_tags", "t"),
                  set("hardware_opengl", "1"), set("hardware_opengl_disable_render", "0"),
                  set("hardware_opengl_disable_render", "1")}));
    EXPECT_EQ(m_machine->getReleaseDate(), released);
    EXPECT_TRUE(m_machine->getVirtualKeyboardOption());

    m_standIn.clearRules();
    m_standIn.onPrefix({"guestproperty", "set"}, {Answer::fail(1, "VBoxManage: error: x\n")});
    EXPECT_FALSE(m_machine->setAndroidVersion("8.0"));
    EXPECT_EQ(m_machine->getAndroidVersion(), "7.1");
}

TEST_F(MachineProfileTest, TemplateIsCopiedInOrder)
{
    build("");
    VMTemplate t{"tpl-9", 8192,  QDateTime(QDate(2023, 1, 2), QTime(3, 4, 5)),
                 true,    false, 1080,
                 1920,    480,   true,
                 "9.0",   "3.2", "q",
                 4,       3072};

    m_machine->setPropertiesFromTemplate(&t);

    EXPECT_EQ(
        m_standIn.calls(),
        (QList<QStringList>{set("template_uuid", "tpl-9"), set("datadisk_size", "8192"),
                            set("release_date", "Mon Jan 2 03:04:05 2023"),
                            set("sensor_camera", "1"), set("sensor_gyro", "0"),
                            set("vbox_graph_mode", "1080x1920-16"), set("vbox_dpi", "480"),
                            set("quillomate_force_navbar", "1"), set("android_version", "9.0"),
                            set("quillomate_version", "3.2"), set("quillomate_platform", "q"),
                            cmd("modifyvm phone --cpus 4"), cmd("modifyvm phone --memory 3072")}));
}
