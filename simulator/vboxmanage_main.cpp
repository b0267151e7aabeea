// SPDX-License-Identifier: Apache-2.0
// The VBoxManage stand-in: answers the plug-in's command lines from a simulated host.
#include "console.h"
#include "dispatch.h"
#include "userlocale.h"

#include <QCoreApplication>
#include <QTextCodec>

namespace {

// VirtualBox's runtime converts the arguments to UTF-8 as it starts, which it cannot do
// from an ASCII character set once a byte is outside ASCII.
bool hasNonAsciiArgument(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        for (const char *c = argv[i]; *c; ++c)
            if (static_cast<unsigned char>(*c) >= 0x80)
                return true;
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // Arguments, file names and the environment are UTF-8 whichever locales the system has.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromUtf8(argv[i]));
    VBoxSim::printWrapperWarnings(args);
    if (!VBoxSim::UserLocale::utf8CharacterSet() && hasNonAsciiArgument(argc, argv)) {
        VBoxSim::printErr(
            QStringLiteral("VBoxManage: fatal error: RTR3Init: VERR_NO_TRANSLATION\n"));
        return VBoxSim::ExitInit;
    }
    return VBoxSim::runVBoxManage(args);
}
