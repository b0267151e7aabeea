// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtemplate.h>

#include <QRegExp>

// The device profile lives in guest properties where the Android guest reads it. Each key
// keeps the encoding the guest expects, which is why booleans are not stored alike.
namespace {

const QString AndroidVersionKey = QStringLiteral("android_version");
const QString QuillomateVersionKey = QStringLiteral("quillomate_version");
const QString PlatformKey = QStringLiteral("quillomate_platform");
const QString DensityKey = QStringLiteral("vbox_dpi");
const QString DeviceVersionKey = QStringLiteral("quillomate_device_version");
const QString PlayerVersionKey = QStringLiteral("quillomate_player_version");
const QString VmNameKey = QStringLiteral("quillomate_vm_name");
const QString GraphModeKey = QStringLiteral("vbox_graph_mode");
const QString TemplateUuidKey = QStringLiteral("template_uuid");
const QString DataDiskSizeKey = QStringLiteral("datadisk_size");
const QString ReleaseDateKey = QStringLiteral("release_date");
const QString CameraKey = QStringLiteral("sensor_camera");
const QString GyroKey = QStringLiteral("sensor_gyro");
const QString FullScreenKey = QStringLiteral("quillomate_full_screen");
const QString NavigationBarKey = QStringLiteral("quillomate_force_navbar");
const QString VirtualKeyboardKey = QStringLiteral("vkeyboard_mode");
const QString DeviceIdKey = QStringLiteral("quillomate_device_id");
const QString ProductNameKey = QStringLiteral("product_name");
const QString ProductModelKey = QStringLiteral("product_model");
const QString BuildVersionReleaseKey = QStringLiteral("build_version_release");
const QString ProductManufacturerKey = QStringLiteral("product_manufacturer");
const QString ProductBrandKey = QStringLiteral("product_brand");
const QString ProductBoardKey = QStringLiteral("product_board");
const QString BuildDisplayIdKey = QStringLiteral("build_display_id");
const QString ProductDeviceKey = QStringLiteral("product_device");
const QString ProductSerialKey = QStringLiteral("serialno");
const QString ProductTypeKey = QStringLiteral("build_type");
const QString ProductFingerPrintKey = QStringLiteral("build_fingerprint");
const QString ProductTagsKey = QStringLiteral("build_tags");
const QString HXKey = QStringLiteral("hardware_opengl");
const QString DisableRenderKey = QStringLiteral("hardware_opengl_disable_render");

const QString DefaultResolution = QStringLiteral("1024x600-16");
const QString DefaultDensity = QStringLiteral("120");
const QString DefaultDeviceId = QStringLiteral("000000000000000");
// The guest cannot tell an empty property from a missing one, so "no id" has its own mark.
const QString NoDeviceId = QStringLiteral("[none]");

const QString One = QStringLiteral("1");
const QString Zero = QStringLiteral("0");

QString oneOrZero(bool value)
{
    return value ? One : Zero;
}

} // namespace

QString VBoxManageMachine::getGuestProperty(const QString &key, const QString &defaultValue) const
{
    return m_properties.value(key, defaultValue);
}

bool VBoxManageMachine::setGuestProperty(const QString &key, const QString &value)
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("guestproperty"), QStringLiteral("set"), m_name, key, value},
        VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return false;
    m_properties.insert(key, value);
    return true;
}

QString VBoxManageMachine::getData(const QString &key, const QString &defaultValue) const
{
    return getGuestProperty(key, defaultValue);
}

bool VBoxManageMachine::setData(const QString &key, const QString &value)
{
    return setGuestProperty(key, value);
}

void VBoxManageMachine::setPropertiesFromTemplate(const VMTemplate *vmTemplate)
{
    if (!vmTemplate)
        return;
    setTemplateUuid(vmTemplate->uuid);
    setDataDiskSize(QString::number(vmTemplate->dataDiskSize));
    setReleaseDate(vmTemplate->releaseDate);
    setCameraSensorAvailability(vmTemplate->hasCamera);
    setGyroSensorAvailability(vmTemplate->hasGyroscope);
    setResolution(QSize(vmTemplate->screenWidth, vmTemplate->screenHeight));
    setDensity(QString::number(vmTemplate->density));
    setNavigationBarVisibility(vmTemplate->hasNavigationBar);
    setAndroidVersion(vmTemplate->androidVersion);
    setQuillomateVersion(vmTemplate->productVersion);
    setPlatform(vmTemplate->platform);
    setCPUCount(vmTemplate->cpuCount);
    setRAM(vmTemplate->memorySize);
}

bool VBoxManageMachine::setHX(bool enable)
{
    return setGuestProperty(HXKey, oneOrZero(enable));
}

bool VBoxManageMachine::isHX() const
{
    return getData(HXKey, Zero) == One;
}

bool VBoxManageMachine::setFullHX(bool enable)
{
    // Full acceleration needs the basic one; turning it off keeps the basic one as it is.
    if (enable && !isHX())
        setHX(true);
    return setGuestProperty(DisableRenderKey, enable ? Zero : One);
}

bool VBoxManageMachine::isFullHX() const
{
    if (!isHX())
        return false;
    return getData(DisableRenderKey, Zero) != One;
}

QString VBoxManageMachine::getAndroidVersion() const
{
    return getGuestProperty(AndroidVersionKey, QString());
}

bool VBoxManageMachine::setAndroidVersion(const QString &version)
{
    return setGuestProperty(AndroidVersionKey, version);
}

QString VBoxManageMachine::getQuillomateVersion() const
{
    return getGuestProperty(QuillomateVersionKey, QString());
}

bool VBoxManageMachine::setQuillomateVersion(const QString &version)
{
    return setGuestProperty(QuillomateVersionKey, version);
}

QString VBoxManageMachine::getPlatform() const
{
    return getGuestProperty(PlatformKey, QString());
}

bool VBoxManageMachine::setPlatform(const QString &platform)
{
    return setGuestProperty(PlatformKey, platform);
}

QString VBoxManageMachine::getDensity() const
{
    return getGuestProperty(DensityKey, DefaultDensity);
}

void VBoxManageMachine::setDensity(const QString &density)
{
    setGuestProperty(DensityKey, density);
}

void VBoxManageMachine::setPlayerVersion(int version)
{
    setGuestProperty(PlayerVersionKey, QString::number(version));
}

int VBoxManageMachine::getDeviceVersion() const
{
    return getGuestProperty(DeviceVersionKey, Zero).toInt();
}

QSize VBoxManageMachine::getResolution() const
{
    // Only 16-bit colour modes are valid for the guest; anything else reads as no size.
    QRegExp mode(QStringLiteral("(\\d+)x(\\d+)-16"));
    if (mode.indexIn(getGuestProperty(GraphModeKey, DefaultResolution)) < 0)
        return QSize(0, 0);
    return QSize(mode.cap(1).toInt(), mode.cap(2).toInt());
}

void VBoxManageMachine::setResolution(const QSize &resolution)
{
    setGuestProperty(GraphModeKey,
                     QStringLiteral("%1x%2-16").arg(resolution.width()).arg(resolution.height()));
}

void VBoxManageMachine::setTemplateUuid(const QString &uuid)
{
    setGuestProperty(TemplateUuidKey, uuid);
}

QString VBoxManageMachine::getTemplateUuid() const
{
    return getGuestProperty(TemplateUuidKey, QString());
}

void VBoxManageMachine::setDataDiskSize(const QString &size)
{
    setGuestProperty(DataDiskSizeKey, size);
}

unsigned int VBoxManageMachine::getDataDiskSize() const
{
    return getGuestProperty(DataDiskSizeKey, QString()).toUInt();
}

void VBoxManageMachine::setReleaseDate(const QDateTime &date)
{
    setGuestProperty(ReleaseDateKey, date.toString(Qt::TextDate));
}

QDateTime VBoxManageMachine::getReleaseDate() const
{
    return QDateTime::fromString(getGuestProperty(ReleaseDateKey, QString()), Qt::TextDate);
}

void VBoxManageMachine::setCameraSensorAvailability(bool available)
{
    setGuestProperty(CameraKey, oneOrZero(available));
}

bool VBoxManageMachine::getCameraSensorAvailability() const
{
    return getGuestProperty(CameraKey, QString()) == One;
}

void VBoxManageMachine::setGyroSensorAvailability(bool available)
{
    setGuestProperty(GyroKey, oneOrZero(available));
}

bool VBoxManageMachine::getGyroSensorAvailability() const
{
    return getGuestProperty(GyroKey, QString()) == One;
}

bool VBoxManageMachine::isFullScreen() const
{
    return getGuestProperty(FullScreenKey, QStringLiteral("no")) == QLatin1String("yes");
}

void VBoxManageMachine::setFullScreen(bool fullScreen)
{
    setGuestProperty(FullScreenKey, fullScreen ? QStringLiteral("yes") : QStringLiteral("no"));
}

bool VBoxManageMachine::getNavigationBarVisibility() const
{
    return getGuestProperty(NavigationBarKey, Zero) == One;
}

void VBoxManageMachine::setNavigationBarVisibility(bool visible)
{
    setGuestProperty(NavigationBarKey, oneOrZero(visible));
}

bool VBoxManageMachine::getVirtualKeyboardOption() const
{
    return getGuestProperty(VirtualKeyboardKey, Zero) == QLatin1String("2");
}

void VBoxManageMachine::setVirtualKeyboardOption(bool enabled)
{
    setGuestProperty(VirtualKeyboardKey, enabled ? QStringLiteral("2") : Zero);
}

QString VBoxManageMachine::getDeviceId() const
{
    const QString deviceId = getGuestProperty(DeviceIdKey, DefaultDeviceId);
    return deviceId == NoDeviceId ? QString() : deviceId;
}

void VBoxManageMachine::setDeviceId(const QString &deviceId)
{
    setGuestProperty(DeviceIdKey, deviceId.isEmpty() ? NoDeviceId : deviceId);
}

void VBoxManageMachine::setQuillomateVmName(const QString &name)
{
    setGuestProperty(VmNameKey, name);
}

QString VBoxManageMachine::getProductName() const
{
    return getGuestProperty(ProductNameKey, QString());
}

void VBoxManageMachine::setProductName(const QString &value)
{
    setGuestProperty(ProductNameKey, value);
}

QString VBoxManageMachine::getProductModel() const
{
    return getGuestProperty(ProductModelKey, QString());
}

void VBoxManageMachine::setProductModel(const QString &value)
{
    setGuestProperty(ProductModelKey, value);
}

QString VBoxManageMachine::getBuildVersionRelease() const
{
    return getGuestProperty(BuildVersionReleaseKey, QString());
}

QString VBoxManageMachine::getProductManufacturer() const
{
    return getGuestProperty(ProductManufacturerKey, QString());
}

void VBoxManageMachine::setProductManufacturer(const QString &value)
{
    setGuestProperty(ProductManufacturerKey, value);
}

QString VBoxManageMachine::getProductBrand() const
{
    return getGuestProperty(ProductBrandKey, QString());
}

void VBoxManageMachine::setProductBrand(const QString &value)
{
    setGuestProperty(ProductBrandKey, value);
}

QString VBoxManageMachine::getProductBoard() const
{
    return getGuestProperty(ProductBoardKey, QString());
}

void VBoxManageMachine::setProductBoard(const QString &value)
{
    setGuestProperty(ProductBoardKey, value);
}

QString VBoxManageMachine::getBuildDisplayId() const
{
    return getGuestProperty(BuildDisplayIdKey, QString());
}

void VBoxManageMachine::setBuildDisplayId(const QString &value)
{
    setGuestProperty(BuildDisplayIdKey, value);
}

QString VBoxManageMachine::getProductDevice() const
{
    return getGuestProperty(ProductDeviceKey, QString());
}

void VBoxManageMachine::setProductDevice(const QString &value)
{
    setGuestProperty(ProductDeviceKey, value);
}

void VBoxManageMachine::setProductSerial(const QString &value)
{
    setGuestProperty(ProductSerialKey, value);
}

QString VBoxManageMachine::getProductSerial()
{
    return getGuestProperty(ProductSerialKey, QString());
}

void VBoxManageMachine::setProductType(const QString &value)
{
    setGuestProperty(ProductTypeKey, value);
}

QString VBoxManageMachine::getProductType()
{
    return getGuestProperty(ProductTypeKey, QString());
}

void VBoxManageMachine::setProductFingerPrint(const QString &value)
{
    setGuestProperty(ProductFingerPrintKey, value);
}

QString VBoxManageMachine::getProductFingerPrint()
{
    return getGuestProperty(ProductFingerPrintKey, QString());
}

void VBoxManageMachine::setProductTags(const QString &value)
{
    setGuestProperty(ProductTagsKey, value);
}

QString VBoxManageMachine::getProductTags()
{
    return getGuestProperty(ProductTagsKey, QString());
}
