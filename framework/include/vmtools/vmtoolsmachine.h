// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QDateTime>
#include <QSize>
#include <QString>
#include <QStringList>

class QFile;
struct VMTemplate;

// Place of a disk on the IDE controller; the values go to VBoxManage unchanged.
enum DiskPort { PrimaryPort = 0, SecondaryPort = 1 };
enum DiskDevice { MasterDevice = 0, SlaveDevice = 1 };

// One virtual device as the host application sees it. The order of the virtual
// operations is the host's contract: never rearrange them.
class VMTOOLS_EXPORT VMToolsMachine
{
public:
    enum State { Unknown = 0, On = 1, Off = 2, Paused = 3, Process = 4, Aborted = 5 };
    enum AdapterType { NoAdapter = 0, OtherAdapter = 1, HostOnlyAdapter = 2 };
    enum ConnectionType { UnknownConnection = 0, NatConnection = 1, BridgedConnection = 2 };
    enum LaunchType { HeadlessLaunch = 0, GuiLaunch = 1 };

    class VMTOOLS_EXPORT ConnectionInfo
    {
    public:
        ConnectionInfo(ConnectionType type, const QString &name);

        static ConnectionInfo createNatConnectionInfo();
        static ConnectionInfo createBridgedConnectionInfo(const QString &name);
        static ConnectionInfo createUnknownConnectionInfo();

        QString name() const;
        ConnectionType type() const;

    private:
        QString m_name;
        ConnectionType m_type;
    };

    static QString getStatusString(State state);
    static QString getAdapterTypeString(AdapterType type);

    virtual ~VMToolsMachine();
    virtual void setPropertiesFromTemplate(const VMTemplate *vmTemplate) = 0;
    virtual void dumpInfos(QFile *file) = 0;
    virtual QString getPath() const = 0;
    virtual bool resetIP() = 0;
    virtual void reloadProperties() = 0;
    virtual void duplicateDeviceProperties(VMToolsMachine *source);
    virtual bool setHX(bool enable) = 0;
    virtual bool isHX() const = 0;
    virtual unsigned int getRAM() const = 0;
    virtual bool setRAM(unsigned int megabytes) = 0;
    virtual unsigned int getCPUCount() const = 0;
    virtual bool setCPUCount(unsigned int count) = 0;
    virtual bool setFullHX(bool enable) = 0;
    virtual bool isFullHX() const = 0;
    virtual QString getName() const = 0;
    virtual void setName(const QString &name) = 0;
    virtual QString getUuid() const = 0;
    virtual QString waitForIP() = 0;
    virtual State getStatus() const = 0;
    virtual State getOnLoadStatus() const = 0;
    virtual QString getAndroidVersion() const = 0;
    virtual bool setAndroidVersion(const QString &version) = 0;
    virtual QString getQuillomateVersion() const = 0;
    virtual bool setQuillomateVersion(const QString &version) = 0;
    virtual QString getPlatform() const = 0;
    virtual bool setPlatform(const QString &platform) = 0;
    virtual QString getDensity() const = 0;
    virtual void setDensity(const QString &density) = 0;
    virtual void setPlayerVersion(int version) = 0;
    virtual int getDeviceVersion() const = 0;
    virtual QSize getResolution() const = 0;
    virtual void setTemplateUuid(const QString &uuid) = 0;
    virtual QString getTemplateUuid() const = 0;
    virtual void setDataDiskSize(const QString &size) = 0;
    virtual unsigned int getDataDiskSize() const = 0;
    virtual void setReleaseDate(const QDateTime &date) = 0;
    virtual QDateTime getReleaseDate() const = 0;
    virtual void setCameraSensorAvailability(bool available) = 0;
    virtual bool getCameraSensorAvailability() const = 0;
    virtual void setGyroSensorAvailability(bool available) = 0;
    virtual bool getGyroSensorAvailability() const = 0;
    virtual void setResolution(const QSize &resolution) = 0;
    virtual bool isFullScreen() const = 0;
    virtual void setFullScreen(bool fullScreen) = 0;
    virtual bool getNavigationBarVisibility() const = 0;
    virtual void setNavigationBarVisibility(bool visible) = 0;
    virtual bool getVirtualKeyboardOption() const = 0;
    virtual void setVirtualKeyboardOption(bool enabled) = 0;
    virtual QString getDeviceId() const = 0;
    virtual void setDeviceId(const QString &deviceId) = 0;
    virtual QString getIPAddress() const = 0;
    virtual QString getAdbSerial() const = 0;
    virtual AdapterType getAdapterType(unsigned int slot) const = 0;
    virtual bool setAdapterType(unsigned int slot, AdapterType type,
                                const QString &interfaceName) = 0;
    virtual bool createFactoryBackup() = 0;
    virtual bool canResetToFactory() = 0;
    virtual int resetFactory() = 0;
    virtual QString getData(const QString &key, const QString &defaultValue) const = 0;
    virtual bool setData(const QString &key, const QString &value) = 0;
    virtual void setQuillomateVmName(const QString &name) = 0;
    virtual QString getDiskUuid(DiskPort port, DiskDevice device) const = 0;
    virtual bool deleteDisk(DiskPort port, DiskDevice device) const = 0;
    virtual bool attachDisk(const QString &path, DiskPort port, DiskDevice device) const = 0;
    virtual QString getProductName() const = 0;
    virtual void setProductName(const QString &value) = 0;
    virtual QString getProductModel() const = 0;
    virtual void setProductModel(const QString &value) = 0;
    virtual QString getBuildVersionRelease() const = 0;
    virtual QString getProductManufacturer() const = 0;
    virtual void setProductManufacturer(const QString &value) = 0;
    virtual QString getProductBrand() const = 0;
    virtual void setProductBrand(const QString &value) = 0;
    virtual QString getProductBoard() const = 0;
    virtual void setProductBoard(const QString &value) = 0;
    virtual QString getBuildDisplayId() const = 0;
    virtual void setBuildDisplayId(const QString &value) = 0;
    virtual QString getProductDevice() const = 0;
    virtual void setProductDevice(const QString &value) = 0;
    virtual void setProductSerial(const QString &value) = 0;
    virtual QString getProductSerial() = 0;
    virtual void setProductType(const QString &value) = 0;
    virtual QString getProductType() = 0;
    virtual void setProductFingerPrint(const QString &value) = 0;
    virtual QString getProductFingerPrint() = 0;
    virtual void setProductTags(const QString &value) = 0;
    virtual QString getProductTags() = 0;
    virtual ConnectionInfo getConnectionInfo() const = 0;
    virtual bool setConnectionInfo(const ConnectionInfo &info) = 0;
    virtual QStringList getBridgeableInterfaces() const = 0;
};
