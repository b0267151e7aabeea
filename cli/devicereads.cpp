// SPDX-License-Identifier: Apache-2.0
#include "devicereads.h"

#include "diagnostics.h"
#include "hedgedread.h"
#include "longlisting.h"
#include "settledmachines.h"
#include "virtualboxsettings.h"

#include <vmtools/callmemo.h>
#include <vmtools/settings.h>
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>
#include <vmtools/vmtoolsmachinelisting.h>

#include <QHash>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

// The engine's own program name: it finds VBoxManage on PATH.
const QString Program = QStringLiteral("VBoxManage");

// The answer to a read: the one `memo` has, or a run's, which `memo` then keeps if it
// succeeded.
VBoxManageCommon::CallResult read(CallMemo &memo, const QStringList &arguments)
{
    if (memo.isKnown(Program, arguments)) {
        const CallMemo::Scope scope(memo);
        return VBoxManageCommon::call(Program, arguments);
    }
    const VBoxManageCommon::CallResult result = HedgedRead::run(Program, arguments);
    if (result.exitCode == 0)
        memo.keep(Program, arguments, result);
    return result;
}

// Runs those of `reads` that have no answer yet, side by side, or one after the other on
// this thread when `sideBySide` is false.
void readAll(CallMemo &memo, const QList<QStringList> &reads, bool sideBySide)
{
    const auto readOne = [&](int index) {
        if (!memo.isKnown(Program, reads.at(index)))
            read(memo, reads.at(index));
    };
    if (sideBySide) {
        DeviceReads::forEach(reads.size(), memo, readOne);
        return;
    }
    for (int index = 0; index < reads.size(); ++index)
        readOne(index);
}

} // namespace

namespace DeviceReads {

void readAhead(CallMemo &memo, const QString &name, Depth depth)
{
    if (depth == Depth::Dump) {
        readAll(memo,
                {{QStringLiteral("getextradata"), name, QStringLiteral("enumerate")},
                 {QStringLiteral("showvminfo"), name, QStringLiteral("--details")}},
                false);
        return;
    }
    // One after the other: VirtualBox 7.2 refuses a read that locks the machine while another
    // client's read holds it ("already has a lock request pending"), and showvminfo and
    // guestproperty both lock it there. A machine that no process runs needs the second one
    // not at all: its settings file holds its guest properties.
    const VBoxManageCommon::CallResult described = read(memo, {QStringLiteral("showvminfo"), name});
    const QList<LongListing::Block> blocks = LongListing::blocks(described.output);
    if (described.exitCode == 0 && blocks.size() == 1 &&
        LongListing::keepFileAnswers(memo, Program, name, blocks.first()))
        return;
    readAll(memo, {{QStringLiteral("guestproperty"), QStringLiteral("enumerate"), name}}, false);
}

void readAheadStartUp(CallMemo &memo, bool version)
{
    QList<QStringList> reads{
        {QStringLiteral("list"), QStringLiteral("hostinfo")},
        {QStringLiteral("list"), QStringLiteral("hostonlyifs")},
    };
    // The engine looks at the DHCP servers only for the interface it remembers; VirtualBox's
    // settings file lists them as its service holds them.
    if (!Settings::get(QStringLiteral("host.only.interface"), QString()).toString().isEmpty()) {
        const QStringList servers{QStringLiteral("list"), QStringLiteral("dhcpservers")};
        QString text;
        if (VirtualBoxSettings::dhcpServersText(&text))
            memo.keep(Program, servers, {0, text, QString()});
        else
            reads.append(servers);
    }
    if (version)
        reads.append({QStringLiteral("--version")});
    readAll(memo, reads, true);
}

void readListing(CallMemo &memo, const QString &deployDirectory)
{
    const QList<QStringList> reads{{QStringLiteral("list"), QStringLiteral("vms")},
                                   {QStringLiteral("list"), QStringLiteral("runningvms")}};
    VBoxManageCommon::CallResult results[2];
    forEach(2, memo, [&](int index) { results[index] = read(memo, reads.at(index)); });
    if (results[0].exitCode == 0 && results[1].exitCode == 0)
        SettledMachines::keepAnswers(memo, Program, results[0].output, results[1].output,
                                     deployDirectory);
}

void forEach(int count, CallMemo &memo, const std::function<void(int)> &work)
{
    std::atomic<int> next{0};
    const auto drain = [&] {
        const CallMemo::Scope scope(memo);
        for (int index = next++; index < count; index = next++)
            work(index);
    };
    std::vector<std::thread> threads;
    for (int i = 1; i < std::min(Width, count); ++i)
        threads.emplace_back(drain);
    drain();
    for (std::thread &thread : threads)
        thread.join();
}

bool openDevices(VMToolsEngine &engine, CallMemo &memo, const std::function<bool()> &stop,
                 const std::function<void(VMToolsMachine &)> &opened, Devices *devices)
{
    auto *listing = dynamic_cast<VMToolsMachineListing *>(&engine);
    if (!listing) {
        for (VMToolsMachine *machine : engine.getMachines())
            devices->emplace_back(machine);
        for (const auto &machine : *devices)
            opened(*machine);
        return !devices->empty() ||
               !Diagnostics::runFailed({QStringLiteral("list"), QStringLiteral("vms")});
    }
    QList<VMToolsMachineListing::Entry> entries;
    if (!listing->listMachines(&entries))
        return false;
    // A name that only one machine has is that machine: its reads by UUID and by name are one.
    QHash<QString, int> names;
    for (const VMToolsMachineListing::Entry &entry : entries)
        ++names[entry.name];
    for (const VMToolsMachineListing::Entry &entry : entries) {
        if (names.value(entry.name) == 1)
            memo.sameMachine(entry.name, entry.uuid);
    }
    Devices all(entries.size());
    forEach(entries.size(), memo, [&](int index) {
        if (stop())
            return;
        all[index].reset(listing->openListedMachine(entries[index]));
        if (all[index])
            opened(*all[index]);
    });
    // Machines that are not devices leave no entry.
    for (auto &machine : all) {
        if (machine)
            devices->push_back(std::move(machine));
    }
    return true;
}

} // namespace DeviceReads
