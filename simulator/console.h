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

// A message of VBoxSVC (or of a VM process it started) in the service's language:
// VBOXSIM_SERVICE_LANGUAGE, English unless it starts with "ru".
QString serviceMessage(const QString &english);

// The three lines VirtualBox prints for a failed API call; the message in the service's
// language.
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

// "SYMBOL (0x...)" for a result code's symbol.
QString codeWithValue(const QString &symbol);
// Common failure codes.
QString codeObjectNotFound();
QString codeFileError();
QString codeInvalidObjectState();
QString codeInvalidVmState();
QString codeFailure();
QString codeInvalidArg();

} // namespace VBoxSim
