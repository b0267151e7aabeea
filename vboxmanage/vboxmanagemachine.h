// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <QMap>
#include <QString>

// One registered VirtualBox machine. It caches the guest properties that hold the
// device profile and a few facts of its description; everything else asks VBoxManage.
class VBoxManageMachine final : public VMToolsMachine
{
public:
    VBoxManageMachine(const QString &uuid, const QString &name, const QString &vboxManagePath);
    ~VBoxManageMachine() override;

    // VMToolsMachine, in the host's slot order.
    void setPropertiesFromTemplate(const VMTemplate *vmTemplate) override;
    void dumpInfos(QFile *file) override;
    QString getPath() const override;
    bool resetIP() override;
    void reloadProperties() override;
    bool setHX(bool enable) override;
    bool isHX() const override;
    unsigned int getRAM() const override;
    bool setRAM(unsigned int megabytes) override;
    unsigned int getCPUCount() const override;
    bool setCPUCount(unsigned int count) override;
    bool setFullHX(bool enable) override;
    bool isFullHX() const override;
    QString getName() const override;
    void setName(const QString &name) override;
    QString getUuid() const override;
    QString waitForIP() override;
    State getStatus() const override;
    State getOnLoadStatus() const override;
    QString getAndroidVersion() const override;
    bool setAndroidVersion(const QString &version) override;
    QString getQuillomateVersion() const override;
    bool setQuillomateVersion(const QString &version) override;
    QString getPlatform() const override;
    bool setPlatform(const QString &platform) override;
    QString getDensity() const override;
    void setDensity(const QString &density) override;
    void setPlayerVersion(int version) override;
    int getDeviceVersion() const override;
    QSize getResolution() const override;
    void setTemplateUuid(const QString &uuid) override;
    QString getTemplateUuid() const override;
    void setDataDiskSize(const QString &size) override;
    unsigned int getDataDiskSize() const override;
    void setReleaseDate(const QDateTime &date) override;
    QDateTime getReleaseDate() const override;
    void setCameraSensorAvailability(bool available) override;
    bool getCameraSensorAvailability() const override;
    void setGyroSensorAvailability(bool available) override;
    bool getGyroSensorAvailability() const override;
    void setResolution(const QSize &resolution) override;
    bool isFullScreen() const override;
    void setFullScreen(bool fullScreen) override;
    bool getNavigationBarVisibility() const override;
    void setNavigationBarVisibility(bool visible) override;
    bool getVirtualKeyboardOption() const override;
    void setVirtualKeyboardOption(bool enabled) override;
    QString getDeviceId() const override;
    void setDeviceId(const QString &deviceId) override;
    QString getIPAddress() const override;
    QString getAdbSerial() const override;
    AdapterType getAdapterType(unsigned int adapter) const override;
    bool setAdapterType(unsigned int adapter, AdapterType type,
                        const QString &interfaceName) override;
    bool createFactoryBackup() override;
    bool canResetToFactory() override;
    int resetFactory() override;
    QString getData(const QString &key, const QString &defaultValue) const override;
    bool setData(const QString &key, const QString &value) override;
    void setQuillomateVmName(const QString &name) override;
    QString getDiskUuid(DiskPort port, DiskDevice device) const override;
    bool deleteDisk(DiskPort port, DiskDevice device) const override;
    bool attachDisk(const QString &path, DiskPort port, DiskDevice device) const override;
    QString getProductName() const override;
    void setProductName(const QString &value) override;
    QString getProductModel() const override;
    void setProductModel(const QString &value) override;
    QString getBuildVersionRelease() const override;
    QString getProductManufacturer() const override;
    void setProductManufacturer(const QString &value) override;
    QString getProductBrand() const override;
    void setProductBrand(const QString &value) override;
    QString getProductBoard() const override;
    void setProductBoard(const QString &value) override;
    QString getBuildDisplayId() const override;
    void setBuildDisplayId(const QString &value) override;
    QString getProductDevice() const override;
    void setProductDevice(const QString &value) override;
    void setProductSerial(const QString &value) override;
    QString getProductSerial() override;
    void setProductType(const QString &value) override;
    QString getProductType() override;
    void setProductFingerPrint(const QString &value) override;
    QString getProductFingerPrint() override;
    void setProductTags(const QString &value) override;
    QString getProductTags() override;
    ConnectionInfo getConnectionInfo() const override;
    bool setConnectionInfo(const ConnectionInfo &info) override;
    QStringList getBridgeableInterfaces() const override;

    // Guest-property cache and the description facts read at construction.
    QString getGuestProperty(const QString &key, const QString &defaultValue) const;
    bool setGuestProperty(const QString &key, const QString &value);
    void loadProperties();
    void loadCPUNumber(const QString &description);
    void loadMemorySize(const QString &description);
    void loadStatus(const QString &description);
    State parseStatus(const QString &description) const;
    void loadNIC(const QString &description);

    // Snapshots.
    bool takeSnapshot(const QString &snapshotName, const QString &description);
    QStringList listSnapshots();
    bool doesSnapshotExist(const QString &snapshotName);
    int restoreSnapshot(const QString &snapshotName);

private:
    bool modifyWithRetry(const QString &option, unsigned int value);

    QString m_uuid;
    QString m_name;
    QString m_vboxManagePath;
    QMap<QString, QString> m_properties;
    QMap<int, QString> m_nics;
    unsigned int m_cpuCount = 0;
    unsigned int m_ram = 0;
    State m_onLoadStatus = Unknown;
    QString m_ipAddress;
};
