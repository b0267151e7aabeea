#include "vboxmanagemachine.h"

void VBoxManageMachine::setPropertiesFromTemplate(const VMTemplate *vmTemplate)
{
}

bool VBoxManageMachine::setHX(bool enable)
{
    return false;
}

bool VBoxManageMachine::isHX() const
{
    return false;
}

bool VBoxManageMachine::setFullHX(bool enable)
{
    return false;
}

bool VBoxManageMachine::isFullHX() const
{
    return false;
}

QString VBoxManageMachine::getAndroidVersion() const
{
    return {};
}

bool VBoxManageMachine::setAndroidVersion(const QString &version)
{
    return false;
}

QString VBoxManageMachine::getQuillomateVersion() const
{
    return {};
}

bool VBoxManageMachine::setQuillomateVersion(const QString &version)
{
    return false;
}

QString VBoxManageMachine::getPlatform() const
{
    return {};
}

bool VBoxManageMachine::setPlatform(const QString &platform)
{
    return false;
}

QString VBoxManageMachine::getDensity() const
{
    return {};
}

void VBoxManageMachine::setDensity(const QString &density)
{
}

void VBoxManageMachine::setPlayerVersion(int version)
{
}

int VBoxManageMachine::getDeviceVersion() const
{
    return 0;
}

QSize VBoxManageMachine::getResolution() const
{
    return {};
}

void VBoxManageMachine::setTemplateUuid(const QString &uuid)
{
}

QString VBoxManageMachine::getTemplateUuid() const
{
    return {};
}

void VBoxManageMachine::setDataDiskSize(const QString &size)
{
}

unsigned int VBoxManageMachine::getDataDiskSize() const
{
    return 0;
}

void VBoxManageMachine::setReleaseDate(const QDateTime &date)
{
}

QDateTime VBoxManageMachine::getReleaseDate() const
{
    return {};
}

void VBoxManageMachine::setCameraSensorAvailability(bool available)
{
}

bool VBoxManageMachine::getCameraSensorAvailability() const
{
    return false;
}

void VBoxManageMachine::setGyroSensorAvailability(bool available)
{
}

bool VBoxManageMachine::getGyroSensorAvailability() const
{
    return false;
}

void VBoxManageMachine::setResolution(const QSize &resolution)
{
}

bool VBoxManageMachine::isFullScreen() const
{
    return false;
}

void VBoxManageMachine::setFullScreen(bool fullScreen)
{
}

bool VBoxManageMachine::getNavigationBarVisibility() const
{
    return false;
}

void VBoxManageMachine::setNavigationBarVisibility(bool visible)
{
}

bool VBoxManageMachine::getVirtualKeyboardOption() const
{
    return false;
}

void VBoxManageMachine::setVirtualKeyboardOption(bool enabled)
{
}

QString VBoxManageMachine::getDeviceId() const
{
    return {};
}

void VBoxManageMachine::setDeviceId(const QString &deviceId)
{
}

QString VBoxManageMachine::getData(const QString &key, const QString &defaultValue) const
{
    return {};
}

bool VBoxManageMachine::setData(const QString &key, const QString &value)
{
    return false;
}

void VBoxManageMachine::setQuillomateVmName(const QString &name)
{
}

QString VBoxManageMachine::getProductName() const
{
    return {};
}

void VBoxManageMachine::setProductName(const QString &value)
{
}

QString VBoxManageMachine::getProductModel() const
{
    return {};
}

void VBoxManageMachine::setProductModel(const QString &value)
{
}

QString VBoxManageMachine::getBuildVersionRelease() const
{
    return {};
}

QString VBoxManageMachine::getProductManufacturer() const
{
    return {};
}

void VBoxManageMachine::setProductManufacturer(const QString &value)
{
}

QString VBoxManageMachine::getProductBrand() const
{
    return {};
}

void VBoxManageMachine::setProductBrand(const QString &value)
{
}

QString VBoxManageMachine::getProductBoard() const
{
    return {};
}

void VBoxManageMachine::setProductBoard(const QString &value)
{
}

QString VBoxManageMachine::getBuildDisplayId() const
{
    return {};
}

void VBoxManageMachine::setBuildDisplayId(const QString &value)
{
}

QString VBoxManageMachine::getProductDevice() const
{
    return {};
}

void VBoxManageMachine::setProductDevice(const QString &value)
{
}

void VBoxManageMachine::setProductSerial(const QString &value)
{
}

QString VBoxManageMachine::getProductSerial()
{
    return {};
}

void VBoxManageMachine::setProductType(const QString &value)
{
}

QString VBoxManageMachine::getProductType()
{
    return {};
}

void VBoxManageMachine::setProductFingerPrint(const QString &value)
{
}

QString VBoxManageMachine::getProductFingerPrint()
{
    return {};
}

void VBoxManageMachine::setProductTags(const QString &value)
{
}

QString VBoxManageMachine::getProductTags()
{
    return {};
}

QString VBoxManageMachine::getGuestProperty(const QString &key, const QString &defaultValue) const
{
    return {};
}

bool VBoxManageMachine::setGuestProperty(const QString &key, const QString &value)
{
    return false;
}
