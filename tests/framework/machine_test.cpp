#include <vmtools/vmtoolsmachine.h>

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

namespace {

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

} // namespace

TEST(MachineTest, EnumerationValuesAreTheHostContract)
{
    EXPECT_EQ(int(VMToolsMachine::Unknown), 0);
    EXPECT_EQ(int(VMToolsMachine::On), 1);
    EXPECT_EQ(int(VMToolsMachine::Off), 2);
    EXPECT_EQ(int(VMToolsMachine::Paused), 3);
    EXPECT_EQ(int(VMToolsMachine::Process), 4);
    EXPECT_EQ(int(VMToolsMachine::Aborted), 5);
    EXPECT_EQ(int(VMToolsMachine::NoAdapter), 0);
    EXPECT_EQ(int(VMToolsMachine::OtherAdapter), 1);
    EXPECT_EQ(int(VMToolsMachine::HostOnlyAdapter), 2);
    EXPECT_EQ(int(VMToolsMachine::UnknownConnection), 0);
    EXPECT_EQ(int(VMToolsMachine::NatConnection), 1);
    EXPECT_EQ(int(VMToolsMachine::BridgedConnection), 2);
    EXPECT_EQ(int(VMToolsMachine::HeadlessLaunch), 0);
    EXPECT_EQ(int(VMToolsMachine::GuiLaunch), 1);
    EXPECT_EQ(int(PrimaryPort), 0);
    EXPECT_EQ(int(SecondaryPort), 1);
    EXPECT_EQ(int(MasterDevice), 0);
    EXPECT_EQ(int(SlaveDevice), 1);
    EXPECT_EQ(sizeof(VMToolsMachine::State), 4u);
    EXPECT_EQ(sizeof(VMToolsMachine::AdapterType), 4u);
    EXPECT_EQ(sizeof(VMToolsMachine::ConnectionType), 4u);
}

TEST(MachineTest, StatusAndAdapterTypeStrings)
{
    const auto status = [](int value) {
        return VMToolsMachine::getStatusString(static_cast<VMToolsMachine::State>(value));
    };
    EXPECT_EQ(status(0), "Unknown");
    EXPECT_EQ(status(1), "On");
    EXPECT_EQ(status(2), "Off");
    EXPECT_EQ(status(3), "Paused");
    EXPECT_EQ(status(4), "Process");
    EXPECT_EQ(status(5), "Aborted");
    // Values past the table read as "On", never "Unknown".
    EXPECT_EQ(status(6), "On");
    EXPECT_EQ(status(100), "On");
    EXPECT_EQ(status(0x7fffffff), "On");

    const auto adapter = [](int value) {
        return VMToolsMachine::getAdapterTypeString(
            static_cast<VMToolsMachine::AdapterType>(value));
    };
    EXPECT_EQ(adapter(0), "null");
    EXPECT_EQ(adapter(1), "unknown");
    EXPECT_EQ(adapter(2), "hostonly");
    EXPECT_EQ(adapter(3), "null");
    EXPECT_EQ(adapter(-1), "null");
}

TEST(MachineTest, ConnectionInfoRecords)
{
    const VMToolsMachine::ConnectionInfo bridged(VMToolsMachine::BridgedConnection, "eth0");
    EXPECT_EQ(bridged.type(), VMToolsMachine::BridgedConnection);
    EXPECT_EQ(bridged.name(), "eth0");

    const auto nat = VMToolsMachine::ConnectionInfo::createNatConnectionInfo();
    EXPECT_EQ(nat.type(), VMToolsMachine::NatConnection);
    EXPECT_TRUE(nat.name().isNull());

    const auto unknown = VMToolsMachine::ConnectionInfo::createUnknownConnectionInfo();
    EXPECT_EQ(unknown.type(), VMToolsMachine::UnknownConnection);
    EXPECT_TRUE(unknown.name().isEmpty());

    const auto emptyBridge = VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo("");
    EXPECT_EQ(emptyBridge.type(), VMToolsMachine::BridgedConnection);
    EXPECT_TRUE(emptyBridge.name().isEmpty());

    // A value type: copies are independent.
    VMToolsMachine::ConnectionInfo copy = bridged;
    copy = VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo("wlp2s0");
    EXPECT_EQ(copy.name(), "wlp2s0");
    EXPECT_EQ(bridged.name(), "eth0");
}

TEST(MachineTest, DuplicateDevicePropertiesCopiesTheProfilePairByPairInOrder)
{
    StrictMock<MockMachine> source;
    StrictMock<MockMachine> target;
    {
        InSequence order;
        EXPECT_CALL(source, getResolution()).WillOnce(Return(QSize(1080, 1920)));
        EXPECT_CALL(target, setResolution(QSize(1080, 1920)));
        EXPECT_CALL(source, getDensity()).WillOnce(Return("420"));
        EXPECT_CALL(target, setDensity(QString("420")));
        EXPECT_CALL(source, isFullScreen()).WillOnce(Return(true));
        EXPECT_CALL(target, setFullScreen(true));
        EXPECT_CALL(source, getNavigationBarVisibility()).WillOnce(Return(false));
        EXPECT_CALL(target, setNavigationBarVisibility(false));
        EXPECT_CALL(source, getVirtualKeyboardOption()).WillOnce(Return(true));
        EXPECT_CALL(target, setVirtualKeyboardOption(true));
        EXPECT_CALL(source, getDeviceId()).WillOnce(Return("0123456789abcdef"));
        EXPECT_CALL(target, setDeviceId(QString("0123456789abcdef")));
        // Failing setters do not stop the copy.
        EXPECT_CALL(source, isHX()).WillOnce(Return(true));
        EXPECT_CALL(target, setHX(true)).WillOnce(Return(false));
        EXPECT_CALL(source, isFullHX()).WillOnce(Return(false));
        EXPECT_CALL(target, setFullHX(false)).WillOnce(Return(false));
        EXPECT_CALL(source, getPlatform()).WillOnce(Return("x86_64"));
        EXPECT_CALL(target, setPlatform(QString("x86_64"))).WillOnce(Return(false));
        EXPECT_CALL(source, getAndroidVersion()).WillOnce(Return("9.0"));
        EXPECT_CALL(target, setAndroidVersion(QString("9.0"))).WillOnce(Return(false));
        EXPECT_CALL(source, getProductName()).WillOnce(Return("name"));
        EXPECT_CALL(target, setProductName(QString("name")));
        EXPECT_CALL(source, getProductManufacturer()).WillOnce(Return("manufacturer"));
        EXPECT_CALL(target, setProductManufacturer(QString("manufacturer")));
        EXPECT_CALL(source, getProductDevice()).WillOnce(Return("device"));
        EXPECT_CALL(target, setProductDevice(QString("device")));
        EXPECT_CALL(source, getProductBoard()).WillOnce(Return("board"));
        EXPECT_CALL(target, setProductBoard(QString("board")));
        EXPECT_CALL(source, getProductBrand()).WillOnce(Return("brand"));
        EXPECT_CALL(target, setProductBrand(QString("brand")));
        EXPECT_CALL(source, getBuildDisplayId()).WillOnce(Return("display id"));
        EXPECT_CALL(target, setBuildDisplayId(QString("display id")));
        EXPECT_CALL(source, getProductModel()).WillOnce(Return("model"));
        EXPECT_CALL(target, setProductModel(QString("model")));
        EXPECT_CALL(source, getProductSerial()).WillOnce(Return("serial"));
        EXPECT_CALL(target, setProductSerial(QString("serial")));
        EXPECT_CALL(source, getProductType()).WillOnce(Return("user"));
        EXPECT_CALL(target, setProductType(QString("user")));
        EXPECT_CALL(source, getProductFingerPrint()).WillOnce(Return("fingerprint"));
        EXPECT_CALL(target, setProductFingerPrint(QString("fingerprint")));
        EXPECT_CALL(source, getProductTags()).WillOnce(Return(""));
        EXPECT_CALL(target, setProductTags(QString("")));
    }
    // Strict mocks: a copy of anything else (name, memory, sensors...) fails the test.
    target.duplicateDeviceProperties(&source);
}

TEST(MachineTest, DuplicateDevicePropertiesFromNullMakesNoCall)
{
    StrictMock<MockMachine> target;
    target.duplicateDeviceProperties(nullptr);
    EXPECT_TRUE(::testing::Mock::VerifyAndClearExpectations(&target));
}
