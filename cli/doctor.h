// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>

class HostFiles;

// What `vmtools doctor` finds out about the host: per check, whether VirtualBox can run
// devices here, and when not, what is wrong and the one thing to do about it. Doctor only
// looks: it changes nothing, not even a machine folder that an interrupted run left
// switched (it holds that switch's lock while it looks, so that its own engine start-up
// leaves the folder as it found it).
namespace Doctor {

// A warning names something that devices work despite, or that may bite later; only a
// problem makes doctor fail. Skipped: what a check needs (VirtualBox's answer) is missing.
enum class Status { Ok, Warning, Problem, Skipped };

struct Result
{
    QString id;   // stable, for scripts: "kernel-driver"
    QString name; // for people: "Kernel driver"
    Status status = Status::Ok;
    QString detail; // what was found, or what is wrong
    QString remedy; // the one thing to do; empty when nothing is to be done
};

QList<Result> run(const HostFiles &files);

int count(const QList<Result> &results, Status status);
QString text(const QList<Result> &results);
QJsonArray json(const QList<Result> &results);
QString statusWord(Status status);

// The verdict on the space left for devices at `folder`.
Result freeSpace(const QString &folder, qint64 bytesAvailable);

} // namespace Doctor
