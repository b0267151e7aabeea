// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsobserver.h>

#include "logcapture.h"
#include "printers.h"
#include "procstats.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <random>
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

// The limit is only a guard against a hang.
bool waitUntil(const std::function<bool()> &condition)
{
    QDeadlineTimer guard(60000);
    while (!condition()) {
        if (guard.hasExpired())
            return false;
        QThread::msleep(10);
    }
    return true;
}

// Counts the SIGINTs that reach this process while it lives: a cancel must reach the call's
// child only, and the test program leads its own process group, so a signal to the group
// lands here too. Children start with the default action all the same (exec resets a
// handler, where an ignored SIGINT of a background run would be inherited).
class SigintCounter
{
public:
    SigintCounter()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {
            ++s_received;
        };
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_previous);
        s_received = 0;
    }
    ~SigintCounter() { sigaction(SIGINT, &m_previous, nullptr); }
    int received() const { return s_received; }

private:
    static std::atomic<int> s_received;
    struct sigaction m_previous = {};
};

std::atomic<int> SigintCounter::s_received{0};

void expectCancelled(const CallResult &result)
{
    EXPECT_EQ(result.exitCode, -1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_EQ(result.error, "canceled");
}

// SIGINT and SIGTERM at their default action, and deliverable, while it lives: a signal
// that strays to this process (which leads its own process group) ends it.
class DefaultInterruptActions
{
public:
    DefaultInterruptActions()
    {
        struct sigaction action = {};
        action.sa_handler = SIG_DFL;
        sigemptyset(&action.sa_mask);
        for (int i = 0; i < 2; ++i)
            sigaction(Signals[i], &action, &m_previous[i]);
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        sigaddset(&set, SIGTERM);
        pthread_sigmask(SIG_UNBLOCK, &set, &m_previousMask);
    }
    ~DefaultInterruptActions()
    {
        pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
        for (int i = 0; i < 2; ++i)
            sigaction(Signals[i], &m_previous[i], nullptr);
    }

private:
    static constexpr int Signals[2] = {SIGINT, SIGTERM};
    struct sigaction m_previous[2] = {};
    sigset_t m_previousMask = {};
};

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
    const SigintCounter sigints;
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
    if (started) {
        EXPECT_TRUE(QMetaObject::invokeMethod(observer, "cancel", Qt::QueuedConnection));
    }
    worker.join();

    EXPECT_EQ(sigints.received(), 0);
    expectCancelled(result);
    EXPECT_LT(elapsed.elapsed(), ChildRunsMs) << "the call ran to the child's end";
    EXPECT_EQ(log.texts(),
              QStringList{"[VBox] Call: (\"export\", \"phone\", \"-o\", \"/tmp/x/export.ova\")"});

    observer->deleteLater(); // in its own thread, as the thread ends at the latest
    observerThread.quit();
    observerThread.wait();
}

// A child that ignores the interrupt runs to its end, unless the call asked for it to be
// killed then; the call is cancelled either way.
TEST(ObserverTest, ChildIgnoringTheInterruptRunsToItsEndOrIsKilledAndTheCallIsStillCancelled)
{
    const struct
    {
        Options options;
        int seconds;
        bool ranToItsEnd;
    } rows[] = {{Silent, 1, true}, {Silent | KillWhenCanceled, 20, false}};
    for (const auto &row : rows) {
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        const QString marker = dir.filePath("finished");
        VMToolsObserver observer;
        CallResult result;

        std::thread worker([&] {
            result = call(Shell, stubbornChild(marker, row.seconds), row.options, &observer);
        });
        const bool started = waitUntil([&] { return QFile::exists(marker + ".started"); });
        EXPECT_TRUE(started);
        if (started) {
            EXPECT_TRUE(observer.cancel());
            // A second interrupt is sent as well, and ignored; this one through the meta-object.
            bool sent = false;
            EXPECT_TRUE(QMetaObject::invokeMethod(&observer, "cancel", Qt::DirectConnection,
                                                  Q_RETURN_ARG(bool, sent)));
            EXPECT_TRUE(sent);
        }
        worker.join();

        expectCancelled(result);
        EXPECT_EQ(QFile::exists(marker), row.ranToItsEnd) << row.seconds;
    }
}

// A cancel at a random moment of a very short call: before its child starts, while it
// runs or ends, or after it has ended. Only a running child may be interrupted: with
// SIGINT at its default action, a cancel that signalled the caller's process group would
// end this test process. Whatever the moment, the call returns a result of one of the two
// kinds and no child or descriptor is left behind. VMTOOLS_STRESS_RUNS scales it.
TEST(ObserverTest, CancelsAtRandomMomentsSignalOnlyARunningChild)
{
    const int cancels = qEnvironmentVariableIsSet("VMTOOLS_STRESS_RUNS")
                            ? qEnvironmentVariableIntValue("VMTOOLS_STRESS_RUNS")
                            : 1000;
    // Several cancels a call, each at a moment of its own: a thousand children would take
    // far longer than a thousand cancels need.
    constexpr int CancelsPerCall = 4;
    const int calls = cancels / CancelsPerCall;
    const DefaultInterruptActions defaults;
    VMToolsObserver observer;
    // The moments are spread over a call's usual length (a measure, not a check).
    constexpr int WarmUpCalls = 3;
    QElapsedTimer warmUp;
    warmUp.start();
    for (int i = 0; i < WarmUpCalls; ++i)
        call("/bin/true", {}, Silent, &observer);
    const auto callUs = warmUp.nsecsElapsed() / 1000 / WarmUpCalls;
    const int descriptors = ProcStats::openDescriptors();

    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<qint64> momentUs(0, callUs * 3 / 2);
    int cancelled = 0;
    for (int run = 0; run < calls; ++run) {
        std::array<qint64, CancelsPerCall> moments;
        for (qint64 &moment : moments)
            moment = momentUs(random);
        std::sort(moments.begin(), moments.end());
        std::thread canceller([&] {
            QElapsedTimer since;
            since.start();
            for (const qint64 moment : moments) {
                std::this_thread::sleep_for(
                    std::chrono::microseconds(moment - since.nsecsElapsed() / 1000));
                observer.cancel();
            }
        });
        const CallResult result = call("/bin/true", {}, Silent, &observer);
        canceller.join();
        observer.reset();
        if (result.exitCode == -1) {
            ++cancelled;
            expectCancelled(result);
        } else {
            EXPECT_EQ(result.exitCode, 0);
            EXPECT_EQ(result.error, "") << "run " << run;
        }
    }
    EXPECT_EQ(ProcStats::children(), QList<qint64>());
    EXPECT_EQ(ProcStats::openDescriptors(), descriptors);
    RecordProperty("cancelled", cancelled);
    RecordProperty("ran_out", calls - cancelled);
}
