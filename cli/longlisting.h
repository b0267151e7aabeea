// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>

class CallMemo;

// Machine descriptions as "showvminfo" prints them: one, or several one after the other as
// "VBoxManage list --long vms" prints them.
namespace LongListing {

struct Block
{
    QString uuid;
    QString state;
    QString configFile;
    bool encrypted = false;
    QString text; // as "showvminfo UUID" prints it
};

// The listing's blocks in its order; an output that is not such a listing gives none.
QList<Block> blocks(const QString &output);

// Whether the machine was powered off: then no process runs it, its block is all that
// "showvminfo" says, and its settings file holds its guest properties.
bool isSettled(const Block &block);

// When no process runs the machine that `block` describes: keeps in `memo`, as the answers to
// reads of `program` about `id` (its name or UUID), what its settings file says: its guest
// properties, its published address and its snapshots. False when it could not.
bool keepFileAnswers(CallMemo &memo, const QString &program, const QString &id, const Block &block);

} // namespace LongListing
