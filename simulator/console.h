// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <csignal>

// Output of one VBoxManage run, written as it happens so that progress shows live and
// a child killed half-way leaves what it had printed.
namespace VBoxSim {

// Exit codes as VBoxManage uses them.
enum ExitCode { ExitSuccess = 0, ExitFailure = 1, ExitSyntax = 2, ExitInit = 3 };

void printOut(const QString &text);
void printErr(const QString &text);
// Bytes as they are, for output that is not text.
void printOutBytes(const QByteArray &bytes);

// Keeps all further output back, for a run that is to die half-way through printing it.
void holdOutput();
// Prints the first half of what each stream held back, then ends the process with SIGKILL.
[[noreturn]] void dieHalfWay();

// One "VBoxManage: error: " line per line of `message`.
void printError(const QString &message);

// The three lines VirtualBox prints for a failed API call.
struct ComError
{
    QString message;
    QString code;      // for example VBOX_E_OBJECT_NOT_FOUND (0x80bb0001)
    QString component; // for example VirtualBoxWrap
    QString interface; // for example IVirtualBox
    QString context;   // the call text, without quotes
    int line = 0;
    QString file;
    bool callee = true; // the error info of a failed progress names none
};
void printComError(const ComError &error);
// The error of a failed progress, after its summary line.
void printProgressError(ComError error);

// Set by the SIGINT handler of commands that show progress.
extern volatile std::sig_atomic_t g_interrupted;
void installInterruptHandler();

// Common failure codes.
QString codeObjectNotFound();
QString codeFileError();
QString codeInvalidObjectState();
QString codeInvalidVmState();
QString codeFailure();
QString codeInvalidArg();

} // namespace VBoxSim
