// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <thread>

// Ends runs of VBoxManage that outlive `afterMs`, which only a call without a time limit
// allows, so that such a call shows in the table instead of holding the run. Every child
// of this process is one that the fault table started.
class HangBreaker
{
public:
    explicit HangBreaker(int afterMs);
    ~HangBreaker();
    HangBreaker(const HangBreaker &) = delete;
    HangBreaker &operator=(const HangBreaker &) = delete;

    int ended() const { return m_ended; }

private:
    void watch();

    const int m_afterMs;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_ended{0};
    std::thread m_thread;
};
