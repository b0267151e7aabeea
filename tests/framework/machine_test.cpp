// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsmachine.h>

#include "printers.h"

#include <gtest/gtest.h>

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
