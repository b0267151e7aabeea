// SPDX-License-Identifier: Apache-2.0
// The cells of the fault table (bench/faulttable) that the project promises: every operation
// works with no fault, and under the fault named for it fails within its limits, logs why
// and leaves the folders and settings as they were. Two tests, so that each stays well
// inside its time on a busy machine.
#include "faultcells.h"

#include <gtest/gtest.h>

using namespace FaultCells;

namespace {

void expectPromisedCells(bool withFault)
{
    FaultTestbed bed;
    ASSERT_EQ(bed.problems(), QStringList());
    for (int operation = 0; operation < operationCount(); ++operation) {
        const Fault fault = withFault ? promisedFault(operation) : Fault::None;
        if (withFault && fault == Fault::None)
            continue;
        SCOPED_TRACE(qPrintable(operationName(operation) + " under " + faultName(fault)));
        const Measured m = measure(bed, operation, fault);
        EXPECT_TRUE(m.prepared);
        EXPECT_FALSE(fault == Fault::None && m.outcome.failed) << qPrintable(cell(m));
        EXPECT_EQ(m.shortfall, QString()) << qPrintable(cell(m));
    }
}

} // namespace

TEST(SimulatorFaults, EveryOperationWorksWithNoFault)
{
    expectPromisedCells(false);
}

TEST(SimulatorFaults, EveryOperationFailsInTimeLogsWhyAndLeavesNothingBehind)
{
    expectPromisedCells(true);
}
