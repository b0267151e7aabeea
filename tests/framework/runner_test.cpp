#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsobserver.h>

#include "logcapture.h"
#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

using namespace VBoxManageCommon;

TEST(RunnerTest, SuccessLogsCallAndReturnCode)
{
    StandIn standIn;
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    LogCapture log;
    const CallResult result = call("VBoxManage", {"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "5.2.44r139111\n");
    EXPECT_EQ(log.lines(), (QList<LogLine>{{QtDebugMsg, "[VBox] Call: (\"--version\")"},
                                           {QtDebugMsg, "[VBox] Return code: 0"}}));
}
