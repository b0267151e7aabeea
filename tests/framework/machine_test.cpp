#include <vmtools/vmtoolsmachine.h>

#include "mockmachine.h"
#include "printers.h"

#include <gtest/gtest.h>

using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

// The host passes these values through the virtual tables as plain integers.
TEST(MachineTest, EnumerationValuesAndTheirNames)
{
    struct Case
    {
        int value;
        int expected;
        const char *status;
    };
    const QList<Case> cases = {
        {VMToolsMachine::Unknown, 0, "Unknown"},
        {VMToolsMachine::On, 1, "On"},
        {VMToolsMachine::Off, 2, "Off"},
        {VMToolsMachine::Paused, 3, "Paused"},
        {VMToolsMachine::Process, 4, "Process"},
        {VMToolsMachine::Aborted, 5, "Aborted"},
        {VMToolsMachine::NoAdapter, 0, nullptr},
        {VMToolsMachine::OtherAdapter, 1, nullptr},
        {VMToolsMachine::HostOnlyAdapter, 2, nullptr},
        {VMToolsMachine::UnknownConnection, 0, nullptr},
        {VMToolsMachine::NatConnection, 1, nullptr},
        {VMToolsMachine::BridgedConnection, 2, nullptr},
        {VMToolsMachine::HeadlessLaunch, 0, nullptr},
        {VMToolsMachine::GuiLaunch, 1, nullptr},
        {PrimaryPort, 0, nullptr},
        {SecondaryPort, 1, nullptr},
        {MasterDevice, 0, nullptr},
        {SlaveDevice, 1, nullptr},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(c.value, c.expected) << c.status;
        if (c.status) {
            EXPECT_EQ(VMToolsMachine::getStatusString(VMToolsMachine::State(c.value)), c.status);
        }
    }
    // Values past the table read as "On", never "Unknown".
    for (int past : {6, 100, 0x7fffffff})
        EXPECT_EQ(VMToolsMachine::getStatusString(VMToolsMachine::State(past)), "On") << past;
    const QStringList adapters = {"null", "unknown", "hostonly", "null", "null"};
    for (int value : {0, 1, 2, 3, -1}) {
        EXPECT_EQ(VMToolsMachine::getAdapterTypeString(VMToolsMachine::AdapterType(value)),
                  adapters.at(value < 0 ? 4 : value));
    }
    EXPECT_EQ(sizeof(VMToolsMachine::State), 4u);
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
}

// One getter/setter pair of the copy: the value read from the source goes to the target.
#define COPIES(getter, setter, value, ...)                                                         \
    EXPECT_CALL(source, getter()).WillOnce(Return(value));                                         \
    EXPECT_CALL(target, setter(value)) __VA_ARGS__

TEST(MachineTest, DuplicateDevicePropertiesCopiesTheProfilePairByPairInOrder)
{
    StrictMock<MockMachine> source;
    StrictMock<MockMachine> target;
    {
        InSequence order;
        COPIES(getResolution, setResolution, QSize(1080, 1920));
        COPIES(getDensity, setDensity, QString("420"));
        COPIES(isFullScreen, setFullScreen, true);
        COPIES(getNavigationBarVisibility, setNavigationBarVisibility, false);
        COPIES(getVirtualKeyboardOption, setVirtualKeyboardOption, true);
        COPIES(getDeviceId, setDeviceId, QString("0123456789abcdef"));
        // Failing setters do not stop the copy.
        COPIES(isHX, setHX, true, .WillOnce(Return(false)));
        COPIES(isFullHX, setFullHX, false, .WillOnce(Return(false)));
        COPIES(getPlatform, setPlatform, QString("x86_64"), .WillOnce(Return(false)));
        COPIES(getAndroidVersion, setAndroidVersion, QString("9.0"), .WillOnce(Return(false)));
        COPIES(getProductName, setProductName, QString("name"));
        COPIES(getProductManufacturer, setProductManufacturer, QString("manufacturer"));
        COPIES(getProductDevice, setProductDevice, QString("device"));
        COPIES(getProductBoard, setProductBoard, QString("board"));
        COPIES(getProductBrand, setProductBrand, QString("brand"));
        COPIES(getBuildDisplayId, setBuildDisplayId, QString("display id"));
        COPIES(getProductModel, setProductModel, QString("model"));
        COPIES(getProductSerial, setProductSerial, QString("serial"));
        COPIES(getProductType, setProductType, QString("user"));
        COPIES(getProductFingerPrint, setProductFingerPrint, QString("fingerprint"));
        COPIES(getProductTags, setProductTags, QString(""));
    }
    // Strict mocks: a copy of anything else (name, memory, sensors...) fails the test.
    target.duplicateDeviceProperties(&source);

    StrictMock<MockMachine> untouched;
    untouched.duplicateDeviceProperties(nullptr);
}
