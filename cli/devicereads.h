// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class CallMemo;
class VMToolsEngine;
class VMToolsMachine;

// The reads of VirtualBox that commands which only look share within one command: each
// listing of a machine is asked once (a CallMemo keeps it for the command), and reads that
// do not wait for one another run side by side, a few at a time.
namespace DeviceReads {

// At most this many VBoxManage runs at once: VirtualBox's service serves concurrent clients,
// and more than a few only queue for the processors.
constexpr int Width = 4;

// What the engine reads of a device when it opens one: its description, then its guest
// properties, which for a machine that no process runs come from its settings file (with its
// published address among them). With Dump, only what a device's dump reads besides, one read
// after the other (the caller reads several devices at once). No two reads of one machine run
// side by side: VirtualBox 7.2 refuses a read that locks a machine while another client's
// read holds it ("already has a lock request pending").
enum class Depth { Open, Dump };
void readAhead(CallMemo &memo, const QString &name, Depth depth);

// What the engine's start-up reads of the host, and with `version` VirtualBox's version. The
// DHCP servers come from VirtualBox's settings file where it lists them.
void readAheadStartUp(CallMemo &memo, bool version);

// The machine listing, and beside it the list of the machines that a process runs. A
// machine that no process runs needs no read of its own then: its settings file (the one
// VirtualBox registered, or its folder's under `deployDirectory`) answers its "showvminfo"
// and its "guestproperty enumerate".
void readListing(CallMemo &memo, const QString &deployDirectory);

// Calls work(0) to work(count - 1) on up to Width threads, each bound to `memo`, and
// returns once every call has returned; one call failing never keeps the others from
// running. Each call sees only its own index, so results keep their order.
void forEach(int count, CallMemo &memo, const std::function<void(int)> &work);

// The engine's devices in its order, opened side by side through the engine's listing where
// it offers one (one after the other through getMachines otherwise); `opened` then runs on the
// thread that opened the device, for further reads. Nothing more is opened once `stop` says
// so. False when VirtualBox could not list its machines.
using Devices = std::vector<std::unique_ptr<VMToolsMachine>>;
bool openDevices(VMToolsEngine &engine, CallMemo &memo, const std::function<bool()> &stop,
                 const std::function<void(VMToolsMachine &)> &opened, Devices *devices);

} // namespace DeviceReads
