// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Failures that tests and demos ask for through the file named by VBOXSIM_FAULTS.
// One fault a line: "<command> <kind> [count=N] [vm=NAME] [ms=N] [exit=N] [rc=VERR_X]
// [code=CODE] [context=CALL] [message=TEXT]"; see README.md.
namespace VBoxSim {

struct Fault
{
    QStringList command; // leading arguments that select the run, e.g. {"hostonlyif", "create"};
                         // {"*"} selects every run
    QString kind;        // vmx, svm, diskfull, locked, fail, slow, down, nodriver, childmedia,
                         // and the process faults killed, hang, flood, garbage, empty,
                         // noservice
    int count = -1;      // how many matching runs fail; -1 for all of them
    QString vm;
    int ms = 5000;
    int exitCode = 1;
    QString rc;      // the status a failed start reports, such as VERR_SVM_IN_USE
    QString code;    // the result code of an injected API error, such as E_ACCESSDENIED
    QString context; // the call its Context line names, such as LockMachine
    QString message;
    QString key; // the line itself, which identifies the fault's use count

    bool matches(const QStringList &args) const;
};

class Faults
{
public:
    // Reads the fault file; uses are counted in `home` (not at all without one). Bad lines
    // are skipped.
    void load(const QString &faultFile, const QString &home);
    // The first fault that matches and still has uses left; using it counts one use. The
    // wrapper's faults (nodriver) act before VBoxManage itself and apart from the others;
    // the process faults act on the run as a whole, before any command is read.
    enum Stage { Command, Wrapper, Process };
    const Fault *take(const QStringList &args, Stage stage = Command);

    static bool parseLine(const QString &line, Fault *fault);
    static Stage stageOf(const QString &kind);

private:
    bool useUp(const Fault &fault) const;

    QList<Fault> m_faults;
    QString m_home;
};

} // namespace VBoxSim
