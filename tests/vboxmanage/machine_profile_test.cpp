#include "vboxmanagemachine.h"

#include "printers.h"
#include "standin.h"
#include "vboxtest.h"

#include <vmtools/vmtemplate.h>

#include <gtest/gtest.h>

namespace {

QString properties(const QList<QPair<QString, QString>> &entries)
{
    QString text;
    for (const auto &entry : entries)
        text += QStringLiteral("Name: %1, value: %2, timestamp: 1717406031000000000, flags: \n")
                    .arg(entry.first, entry.second);
    return text;
}

QStringList set(const QString &key, const QString &value)
{
    return {"guestproperty", "set", "phone", key, value};
}

// A machine "phone" with the given guest properties; every write succeeds.
class MachineProfileTest : public ::testing::Test
{
protected:
    void build(const QString &enumerated)
    {
        m_standIn.clearRules();
        m_standIn.onExact({"guestproperty", "enumerate", "phone"}, {Answer::ok(enumerated)});
        m_standIn.onPrefix({"guestproperty", "set", "phone"}, {Answer::ok()});
        m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});
        m_machine.reset(new VBoxManageMachine("u", "phone", "VBoxManage"));
        m_standIn.clearCalls();
    }

    StandIn m_standIn;
    std::unique_ptr<VBoxManageMachine> m_machine;
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

    build(properties({{"vbox_graph_mode", "800x1280-32"},
                      {"vkeyboard_mode", "1"},
                      {"datadisk_size", "abc"},
                      {"quillomate_full_screen", "Yes"},
                      {"quillomate_device_id", "[none]"},
                      {"hardware_opengl", "1"},
                      {"hardware_opengl_disable_render", "1"}}));
    EXPECT_EQ(m_machine->getResolution(), QSize(0, 0));
    EXPECT_FALSE(m_machine->getVirtualKeyboardOption());
    EXPECT_EQ(m_machine->getDataDiskSize(), 0u);
    EXPECT_FALSE(m_machine->isFullScreen());
    EXPECT_EQ(m_machine->getDeviceId(), "");
    EXPECT_TRUE(m_machine->isHX());
    EXPECT_FALSE(m_machine->isFullHX());
    EXPECT_TRUE(m_standIn.calls().isEmpty());
}

TEST_F(MachineProfileTest, SettersWriteTheGuestsEncodingsAndFailedWritesKeepTheCache)
{
    build("");
    const QDateTime released(QDate(2024, 6, 3), QTime(9, 14, 7));
    m_machine->setPlayerVersion(7);
    m_machine->setResolution(QSize(800, 1280));
    m_machine->setReleaseDate(released);
    m_machine->setGyroSensorAvailability(false);
    m_machine->setFullScreen(true);
    m_machine->setVirtualKeyboardOption(true);
    m_machine->setDeviceId("");
    m_machine->setProductSerial("HT7A1");
    m_machine->setProductType("user");

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{set("quillomate_player_version", "7"),
                                  set("vbox_graph_mode", "800x1280-16"),
                                  set("release_date", "Mon Jun 3 09:14:07 2024"),
                                  set("sensor_gyro", "0"), set("quillomate_full_screen", "yes"),
                                  set("vkeyboard_mode", "2"), set("quillomate_device_id", "[none]"),
                                  set("serialno", "HT7A1"), set("build_type", "user")}));
    EXPECT_EQ(m_machine->getResolution(), QSize(800, 1280));
    EXPECT_EQ(m_machine->getReleaseDate(), released);
    EXPECT_TRUE(m_machine->getVirtualKeyboardOption());
    EXPECT_EQ(m_machine->getDeviceId(), "");

    // A failed write keeps the cached value.
    build(properties({{"android_version", "7.1"}}));
    m_standIn.clearRules();
    m_standIn.onPrefix({"guestproperty", "set"}, {Answer::fail(1, "VBoxManage: error: x\n")});
    EXPECT_FALSE(m_machine->setAndroidVersion("8.0"));
    EXPECT_EQ(m_machine->getAndroidVersion(), "7.1");
}

TEST_F(MachineProfileTest, FullHXTurnsHXOnButNeverOff)
{
    build(properties({{"hardware_opengl", "0"}}));

    EXPECT_TRUE(m_machine->setFullHX(true));
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{set("hardware_opengl", "1"),
                                                     set("hardware_opengl_disable_render", "0")}));
    EXPECT_TRUE(m_machine->isFullHX());

    m_standIn.clearCalls();
    EXPECT_TRUE(m_machine->setFullHX(false));
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{set("hardware_opengl_disable_render", "1")}));
    EXPECT_TRUE(m_machine->isHX());
    EXPECT_FALSE(m_machine->isFullHX());
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
