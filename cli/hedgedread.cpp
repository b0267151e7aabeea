// SPDX-License-Identifier: Apache-2.0
#include "hedgedread.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vmtoolsobserver.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

struct Attempt
{
    VMToolsObserver observer;
    VBoxManageCommon::CallResult result;
    bool ended = false;

    bool succeeded() const { return ended && result.exitCode == 0; }
};

} // namespace

namespace HedgedRead {

std::chrono::milliseconds patience()
{
    bool set = false;
    const int ms = qEnvironmentVariableIntValue("VMTOOLS_READ_PATIENCE_MS", &set);
    return std::chrono::milliseconds(set && ms > 0 ? ms : 2000);
}

VBoxManageCommon::CallResult run(const QString &program, const QStringList &arguments,
                                 std::chrono::milliseconds patience)
{
    Attempt attempts[2];
    std::mutex mutex;
    std::condition_variable changed;
    std::thread threads[2];
    const auto start = [&](int index) {
        threads[index] = std::thread([&, index] {
            const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
                program, arguments,
                VBoxManageCommon::WaitForever | VBoxManageCommon::KillWhenCanceled,
                &attempts[index].observer);
            const std::lock_guard<std::mutex> lock(mutex);
            attempts[index].result = result;
            attempts[index].ended = true;
            changed.notify_all();
        });
    };

    start(0);
    int started = 1;
    std::unique_lock<std::mutex> lock(mutex);
    if (!changed.wait_for(lock, patience, [&] { return attempts[0].ended; })) {
        VBoxLog::debug() << "No answer after" << patience.count()
                         << "ms, asking again:" << arguments;
        start(1);
        started = 2;
        changed.wait(lock, [&] {
            return attempts[0].succeeded() || attempts[1].succeeded() ||
                   (attempts[0].ended && attempts[1].ended);
        });
    }
    const int winner = !attempts[0].succeeded() && attempts[1].succeeded() ? 1 : 0;
    // A cancel that comes before its run has started cannot reach the child: ask again
    // until the run has ended.
    for (int index = 0; index < started; ++index) {
        while (!attempts[index].ended) {
            attempts[index].observer.cancel();
            changed.wait_for(lock, std::chrono::milliseconds(100));
        }
    }
    lock.unlock();
    for (int index = 0; index < started; ++index)
        threads[index].join();
    return attempts[winner].result;
}

} // namespace HedgedRead
