#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsobserver.h>

#include "logcapture.h"
#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <functional>
#include <thread>

using namespace VBoxManageCommon;

namespace {

const QString Shell = QStringLiteral("/bin/sh");

// A child that ignores SIGINT, announces that it runs, and leaves `marker` behind
// only if it gets to its end.
QStringList stubbornChild(const QString &marker, int seconds)
{
    return {"-c",
            QStringLiteral("trap '' INT; : > \"$0.started\"; sleep %1; : > \"$0\"").arg(seconds),
            marker};
}

// A cancel must not reach the process object before it has a child: the process id
// would be 0, and SIGINT to 0 hits our own process group. A child that shows it runs may
// do so before the runner's thread, descheduled right after the fork, has recorded its id;
// the pause after the condition holds covers that. The limit is only a guard.
bool waitUntil(const std::function<bool()> &condition)
{
    QDeadlineTimer guard(60000);
    while (!condition()) {
        if (guard.hasExpired())
            return false;
        QThread::msleep(10);
    }
    QThread::msleep(200);
    return true;
}

// A run started in the background ignores SIGINT, and children inherit that: the
// stand-in could then miss an interrupt that comes before it sets its own handler.
class DefaultSigintForChildren
{
public:
    DefaultSigintForChildren()
        : m_previous(std::signal(SIGINT, SIG_DFL))
    {}
    ~DefaultSigintForChildren() { std::signal(SIGINT, m_previous); }

private:
    void (*m_previous)(int);
};

void expectCancelled(const CallResult &result)
{
    EXPECT_EQ(result.exitCode, -1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_EQ(result.error, "canceled");
}

} // namespace

TEST(ObserverTest, CancelBeforeTheCallLetsTheChildFinishAndStaysSetUntilReset)
{
    StandIn standIn;
    standIn.onExact({"list", "vms"}, {Answer::ok("\"phone\" {1234}\n")});
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString marker = dir.filePath("finished");
    VMToolsObserver observer;

    EXPECT_FALSE(observer.isCanceled());
    EXPECT_FALSE(observer.cancel());
    EXPECT_TRUE(observer.isCanceled());

    {
        LogCapture log;
        expectCancelled(call(Shell, stubbornChild(marker, 0), {}, &observer));
        EXPECT_TRUE(QFile::exists(marker)) << "the child did not run to its end";
        // Only the call line: a cancelled call reports no outcome.
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().at(0).text.startsWith("[VBox] Call: (\"-c\", "));
    }

    // Sticky: a later call on the same observer is cancelled too, even when it fails.
    expectCancelled(call("VBoxManage", {"list", "vms"}, {}, &observer));
    expectCancelled(call(dir.filePath("missing"), {}, Silent, &observer));
    EXPECT_EQ(standIn.calls().size(), 1);

    // The process pointer was cleared when the call's process object went away.
    EXPECT_FALSE(observer.cancel());

    observer.reset();
    EXPECT_FALSE(observer.isCanceled());
    LogCapture log;
    const CallResult result = call("VBoxManage", {"list", "vms"}, {}, &observer);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "\"phone\" {1234}\n");
    EXPECT_EQ(log.texts(),
              QStringList({"[VBox] Call: (\"list\", \"vms\")", "[VBox] Return code: 0"}));
}

TEST(ObserverTest, CancelInvokedFromAnotherThreadInterruptsALongChild)
{
    constexpr int ChildRunsMs = 180000;
    const DefaultSigintForChildren defaultSigint;
    StandIn standIn;
    standIn.onExact({"export", "phone", "-o", "/tmp/x/export.ova"},
                    {Answer::ok("never printed\n").withDelay(ChildRunsMs).exitingOnSigint(130)});

    // The observer lives in a thread with an event loop of its own, as a host's would.
    QThread observerThread;
    auto *observer = new VMToolsObserver;
    observer->moveToThread(&observerThread);
    observerThread.start();

    LogCapture log;
    CallResult result;
    QElapsedTimer elapsed;
    elapsed.start();
    std::thread worker([&] {
        result = call("VBoxManage", {"export", "phone", "-o", "/tmp/x/export.ova"},
                      Options(WaitForever), observer);
    });

    const bool started = waitUntil([&] { return !standIn.calls().isEmpty(); });
    EXPECT_TRUE(started);
    bool sent = false;
    if (started) {
        EXPECT_TRUE(QMetaObject::invokeMethod(observer, "cancel", Qt::BlockingQueuedConnection,
                                              Q_RETURN_ARG(bool, sent)));
    }
    worker.join();

    EXPECT_TRUE(sent);
    expectCancelled(result);
    EXPECT_LT(elapsed.elapsed(), ChildRunsMs) << "the call ran to the child's end";
    EXPECT_EQ(log.texts(),
              QStringList{"[VBox] Call: (\"export\", \"phone\", \"-o\", \"/tmp/x/export.ova\")"});

    QMetaObject::invokeMethod(
        observer, [observer] { delete observer; }, Qt::BlockingQueuedConnection);
    observerThread.quit();
    observerThread.wait();
}

TEST(ObserverTest, ChildIgnoringTheInterruptRunsToItsEndAndTheCallIsStillCancelled)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString marker = dir.filePath("finished");
    VMToolsObserver observer;
    CallResult result;

    std::thread worker([&] { result = call(Shell, stubbornChild(marker, 1), Silent, &observer); });
    const bool started = waitUntil([&] { return QFile::exists(marker + ".started"); });
    EXPECT_TRUE(started);
    if (started) {
        EXPECT_TRUE(observer.cancel());
        EXPECT_TRUE(observer.cancel()); // a second interrupt is sent as well, and ignored
    }
    worker.join();

    expectCancelled(result);
    EXPECT_TRUE(QFile::exists(marker)) << "the child was stopped instead of running to its end";
}
