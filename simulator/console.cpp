// SPDX-License-Identifier: Apache-2.0
#include "console.h"

#include "translation.h"

#include <QHash>

#include <cstdio>

#include <signal.h>
#include <unistd.h>

namespace VBoxSim {

volatile std::sig_atomic_t g_interrupted = 0;

namespace {

bool g_holding = false;
QByteArray g_heldOut;
QByteArray g_heldErr;

void writeBytes(FILE *stream, const QByteArray &bytes)
{
    if (g_holding) {
        (stream == stdout ? g_heldOut : g_heldErr).append(bytes);
        return;
    }
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

void write(FILE *stream, const QString &text)
{
    writeBytes(stream, text.toUtf8());
}

extern "C" void onInterrupt(int)
{
    g_interrupted = 1;
}

} // namespace

void printOut(const QString &text)
{
    write(stdout, text);
}

void printErr(const QString &text)
{
    write(stderr, text);
}

void printOutBytes(const QByteArray &bytes)
{
    writeBytes(stdout, bytes);
}

void holdOutput()
{
    g_holding = true;
}

void dieHalfWay()
{
    g_holding = false;
    writeBytes(stdout, g_heldOut.left(g_heldOut.size() / 2));
    writeBytes(stderr, g_heldErr.left(g_heldErr.size() / 2));
    ::kill(::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

void printError(const QString &message)
{
    QString text;
    for (const QString &line : message.split('\n'))
        text += QStringLiteral("VBoxManage: error: ") + line + '\n';
    printErr(text);
}

QString serviceMessage(const QString &english)
{
    // VBoxSVC speaks the language of whoever started it, whatever the client's locale.
    static const bool russian = qEnvironmentVariable("VBOXSIM_SERVICE_LANGUAGE").startsWith("ru");
    return russian ? Translation::russianServiceMessage(english) : english;
}

void printComError(const ComError &error)
{
    QString details = QStringLiteral("Details: code %1, component %2, interface %3")
                          .arg(error.code, error.component, error.interface);
    if (error.callee)
        details += QStringLiteral(", callee nsISupports");
    QString lines = serviceMessage(error.message) + '\n' + details;
    if (!error.context.isEmpty())
        lines += QStringLiteral("\nContext: \"%1\" at line %2 of file %3")
                     .arg(error.context)
                     .arg(error.line)
                     .arg(error.file);
    printError(lines);
}

void printProgressError(ComError error)
{
    error.callee = false;
    printComError(error);
}

void installInterruptHandler()
{
    std::signal(SIGINT, onInterrupt);
}

QString codeWithValue(const QString &symbol)
{
    static const QHash<QString, QString> values{
        {"E_ACCESSDENIED", "0x80070005"},       {"NS_ERROR_INVALID_ARG", "0x80070057"},
        {"NS_ERROR_FAILURE", "0x80004005"},     {"VBOX_E_OBJECT_NOT_FOUND", "0x80bb0001"},
        {"VBOX_E_FILE_ERROR", "0x80bb0004"},    {"VBOX_E_INVALID_OBJECT_STATE", "0x80bb0007"},
        {"VBOX_E_OBJECT_IN_USE", "0x80bb000c"}, {"VBOX_E_IPRT_ERROR", "0x80bb0005"}};
    return QStringLiteral("%1 (%2)").arg(symbol,
                                         values.value(symbol, QStringLiteral("0x80004005")));
}

QString codeObjectNotFound()
{
    return QStringLiteral("VBOX_E_OBJECT_NOT_FOUND (0x80bb0001)");
}

QString codeFileError()
{
    return QStringLiteral("VBOX_E_FILE_ERROR (0x80bb0004)");
}

QString codeInvalidObjectState()
{
    return QStringLiteral("VBOX_E_INVALID_OBJECT_STATE (0x80bb0007)");
}

QString codeInvalidVmState()
{
    return QStringLiteral("VBOX_E_INVALID_VM_STATE (0x80bb0002)");
}

QString codeFailure()
{
    return QStringLiteral("NS_ERROR_FAILURE (0x80004005)");
}

QString codeInvalidArg()
{
    return QStringLiteral("NS_ERROR_INVALID_ARG (0x80070057)");
}

} // namespace VBoxSim
