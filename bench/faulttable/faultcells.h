// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "faulttestbed.h"

#include <QList>
#include <QString>

// Every engine and machine operation under every fault of VBoxManage, end to end: the
// plug-in loaded as a host loads it, against the stand-in, with one fault at a time on every
// run that the operation makes. A cell holds the operation's result, its time against its
// limits, the reason logged and what changed in the folders and settings.
namespace FaultCells {

enum class Fault { None, Missing, NotExecutable, Killed, Hang, Flood, Garbage, Empty, NoService };
constexpr int FaultCount = 9;
// As the table's columns name them; from "killed" on, the stand-in's fault of that name.
QString faultName(Fault fault);

struct Outcome
{
    bool failed = true;
    QString shown;
    bool hasResult = true; // false for operations that return nothing
};

struct Measured
{
    bool prepared = false; // the engine and device the operation needs were there
    Outcome outcome;
    qint64 ms = 0;
    int ended = 0;  // hung calls ended by the breaker
    QString reason; // the first warning or critical line
    // What falls short of the goal, one letter each: S reports success, L no limit, Q no
    // reason logged, F folders changed, C settings changed.
    QString shortfall;
};

int operationCount();
QString operationName(int operation);
// Under which fault the operation keeps every promise (fails in time, logs why, leaves
// the folders and settings alone); None when there is no such fault.
Fault promisedFault(int operation);

Measured measure(FaultTestbed &bed, int operation, Fault fault);
// A cell as the table shows it.
QString cell(const Measured &measured);
// The measured table, the reasons logged and the waits, as docs/reliability.md shows them;
// `rows` holds a row of FaultCount cells for each operation.
QString markdown(const QList<QList<Measured>> &rows);

} // namespace FaultCells
