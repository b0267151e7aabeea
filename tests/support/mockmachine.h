// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <gmock/gmock.h>

#include <QDateTime>
#include <QFile>
#include <QSize>

// A machine whose every answer the test chooses: for the interface's own code and for engine
// operations that only talk to the machine through the interface.
class MockMachine : public VMToolsMachine
{
public:
    MOCK_METHOD(void, setPropertiesFromTemplate, (const VMTemplate *), (override));
    MOCK_METHOD(void, dumpInfos, (QFile *), (override));
    MOCK_METHOD(QString, getPath, (), (const, override));
    MOCK_METHOD(bool, resetIP, (), (override));
    MOCK_METHOD(void, reloadProperties, (), (override));
    MOCK_METHOD(bool, setHX, (bool), (override));
    MOCK_METHOD(bool, isHX, (), (const, override));
    MOCK_METHOD(unsigned int, getRAM, (), (const, override));
    MOCK_METHOD(bool, setRAM, (unsigned int), (override));
    MOCK_METHOD(unsigned int, getCPUCount, (), (const, override));
    MOCK_METHOD(bool, setCPUCount, (unsigned int), (override));
    MOCK_METHOD(bool, setFullHX, (bool), (override));
    MOCK_METHOD(bool, isFullHX, (), (const, override));
    MOCK_METHOD(QString, getName, (), (const, override));
    MOCK_METHOD(void, setName, (const QString &), (override));
    MOCK_METHOD(QString, getUuid, (), (const, override));
    MOCK_METHOD(QString, waitForIP, (), (override));
    MOCK_METHOD(State, getStatus, (), (const, override));
    MOCK_METHOD(State, getOnLoadStatus, (), (const, override));
    MOCK_METHOD(QString, getAndroidVersion, (), (const, override));
    MOCK_METHOD(bool, setAndroidVersion, (const QString &), (override));
    MOCK_METHOD(QString, getQuillomateVersion, (), (const, override));
    MOCK_METHOD(bool, setQuillomateVersion, (const QString &), (override));
    MOCK_METHOD(QString, getPlatform, (), (const, override));
    MOCK_METHOD(bool, setPlatform, (const QString &), (override));
    MOCK_METHOD(QString, getDensity, (), (const, override));
    MOCK_METHOD(void, setDensity, (const QString &), (override));
    MOCK_METHOD(void, setPlayerVersion, (int), (override));
    MOCK_METHOD(int, getDeviceVersion, (), (const, override));
    MOCK_METHOD(QSize, getResolution, (), (const, override));
    MOCK_METHOD(void, setTemplateUuid, (const QString &), (override));
    MOCK_METHOD(QString, getTemplateUuid, (), (const, override));
    MOCK_METHOD(void, setDataDiskSize, (const QString &), (override));
    MOCK_METHOD(unsigned int, getDataDiskSize, (), (const, override));
    MOCK_METHOD(void, setReleaseDate, (const QDateTime &), (override));
    MOCK_METHOD(QDateTime, getReleaseDate, (), (const, override));
    MOCK_METHOD(void, setCameraSensorAvailability, (bool), (override));
    MOCK_METHOD(bool, getCameraSensorAvailability, (), (const, override));
    MOCK_METHOD(void, setGyroSensorAvailability, (bool), (override));
    MOCK_METHOD(bool, getGyroSensorAvailability, (), (const, override));
    MOCK_METHOD(void, setResolution, (const QSize &), (override));
    MOCK_METHOD(bool, isFullScreen, (), (const, override));
    MOCK_METHOD(void, setFullScreen, (bool), (override));
    MOCK_METHOD(bool, getNavigationBarVisibility, (), (const, override));
    MOCK_METHOD(void, setNavigationBarVisibility, (bool), (override));
    MOCK_METHOD(bool, getVirtualKeyboardOption, (), (const, override));
    MOCK_METHOD(void, setVirtualKeyboardOption, (bool), (override));
    MOCK_METHOD(QString, getDeviceId, (), (const, override));
    MOCK_METHOD(void, setDeviceId, (const QString &), (override));
    MOCK_METHOD(QString, getIPAddress, (), (const, override));
    MOCK_METHOD(QString, getAdbSerial, (), (const, override));
    MOCK_METHOD(AdapterType, getAdapterType, (unsigned int), (const, override));
    MOCK_METHOD(bool, setAdapterType, (unsigned int, AdapterType, const QString &), (override));
    MOCK_METHOD(bool, createFactoryBackup, (), (override));
    MOCK_METHOD(bool, canResetToFactory, (), (override));
    MOCK_METHOD(int, resetFactory, (), (override));
    MOCK_METHOD(QString, getData, (const QString &, const QString &), (const, override));
    MOCK_METHOD(bool, setData, (const QString &, const QString &), (override));
    MOCK_METHOD(void, setQuillomateVmName, (const QString &), (override));
    MOCK_METHOD(QString, getDiskUuid, (DiskPort, DiskDevice), (const, override));
    MOCK_METHOD(bool, deleteDisk, (DiskPort, DiskDevice), (const, override));
    MOCK_METHOD(bool, attachDisk, (const QString &, DiskPort, DiskDevice), (const, override));
    MOCK_METHOD(QString, getProductName, (), (const, override));
    MOCK_METHOD(void, setProductName, (const QString &), (override));
    MOCK_METHOD(QString, getProductModel, (), (const, override));
    MOCK_METHOD(void, setProductModel, (const QString &), (override));
    MOCK_METHOD(QString, getBuildVersionRelease, (), (const, override));
    MOCK_METHOD(QString, getProductManufacturer, (), (const, override));
    MOCK_METHOD(void, setProductManufacturer, (const QString &), (override));
    MOCK_METHOD(QString, getProductBrand, (), (const, override));
    MOCK_METHOD(void, setProductBrand, (const QString &), (override));
    MOCK_METHOD(QString, getProductBoard, (), (const, override));
    MOCK_METHOD(void, setProductBoard, (const QString &), (override));
    MOCK_METHOD(QString, getBuildDisplayId, (), (const, override));
    MOCK_METHOD(void, setBuildDisplayId, (const QString &), (override));
    MOCK_METHOD(QString, getProductDevice, (), (const, override));
    MOCK_METHOD(void, setProductDevice, (const QString &), (override));
    MOCK_METHOD(void, setProductSerial, (const QString &), (override));
    MOCK_METHOD(QString, getProductSerial, (), (override));
    MOCK_METHOD(void, setProductType, (const QString &), (override));
    MOCK_METHOD(QString, getProductType, (), (override));
    MOCK_METHOD(void, setProductFingerPrint, (const QString &), (override));
    MOCK_METHOD(QString, getProductFingerPrint, (), (override));
    MOCK_METHOD(void, setProductTags, (const QString &), (override));
    MOCK_METHOD(QString, getProductTags, (), (override));
    MOCK_METHOD(ConnectionInfo, getConnectionInfo, (), (const, override));
    MOCK_METHOD(bool, setConnectionInfo, (const ConnectionInfo &), (override));
    MOCK_METHOD(QStringList, getBridgeableInterfaces, (), (const, override));
};
