// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsmachine.h>

#include "mockmachine.h"
#include "printers.h"

#include <gtest/gtest.h>

using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

// Each state by its constant, then values past the table, which read as "On", never
// "Unknown". Adapter types other than the two named ones read as "null". (Values beyond
// what the enumerations can hold would make the test itself undefined.)
TEST(MachineTest, StatusAndAdapterTypeNames)
{
    const QList<QPair<VMToolsMachine::State, QString>> statuses = {
        {VMToolsMachine::Unknown, "Unknown"}, {VMToolsMachine::On, "On"},
        {VMToolsMachine::Off, "Off"},         {VMToolsMachine::Paused, "Paused"},
        {VMToolsMachine::Process, "Process"}, {VMToolsMachine::Aborted, "Aborted"},
        {VMToolsMachine::State(6), "On"},     {VMToolsMachine::State(7), "On"}};
    for (const auto &[state, name] : statuses)
        EXPECT_EQ(VMToolsMachine::getStatusString(state), name) << state;
    const QList<QPair<VMToolsMachine::AdapterType, QString>> adapters = {
        {VMToolsMachine::NoAdapter, "null"},
        {VMToolsMachine::OtherAdapter, "unknown"},
        {VMToolsMachine::HostOnlyAdapter, "hostonly"},
        {VMToolsMachine::AdapterType(3), "null"}};
    for (const auto &[type, name] : adapters)
        EXPECT_EQ(VMToolsMachine::getAdapterTypeString(type), name) << type;
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
