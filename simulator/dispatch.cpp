// SPDX-License-Identifier: Apache-2.0
#include "dispatch.h"

#include "commands.h"
#include "console.h"
#include "userlocale.h"

#include <QMap>
#include <QThread>

namespace VBoxSim {

namespace {

using Handler = int (*)(Context &, const QStringList &);

// Far past the longest limit a client sets (300 s); the client or the test ends the run.
constexpr unsigned long HangSeconds = 24 * 60 * 60;

const QMap<QString, Handler> &handlers()
{
    static const QMap<QString, Handler> table = {
        {"list", listCommand},
        {"showvminfo", showVmInfoCommand},
        {"guestproperty", guestPropertyCommand},
        {"getextradata", getExtraDataCommand},
        {"modifyvm", modifyVmCommand},
        {"startvm", startVmCommand},
        {"controlvm", controlVmCommand},
        {"unregistervm", unregisterVmCommand},
        {"clonevm", cloneVmCommand},
        {"snapshot", snapshotCommand},
        {"storageattach", storageAttachCommand},
        {"createhd", createMediumCommand},
        {"createmedium", createMediumCommand},
        {"createvdi", createMediumCommand},
        {"clonehd", cloneMediumCommand},
        {"clonemedium", cloneMediumCommand},
        {"clonevdi", cloneMediumCommand},
        {"closemedium", closeMediumCommand},
        {"import", importCommand},
        {"export", exportCommand},
        {"setproperty", setPropertyCommand},
        {"hostonlyif", hostOnlyIfCommand},
        {"dhcpserver", dhcpServerCommand},
    };
    return table;
}

QString environment(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

const QStringList &versionFlags()
{
    static const QStringList flags = {"--version", "-v", "-V", "-version", "-Version"};
    return flags;
}

// 100 MiB of lines that no reader knows: 80 blocks of 16384 lines of 80 bytes.
void printFlood()
{
    const QByteArray block = (QByteArray(79, 'x') + '\n').repeated(16384);
    for (int i = 0; i < 80; ++i)
        printOutBytes(block);
}

// A lone continuation byte, a cut sequence, an overlong form, an encoded surrogate and
// bytes that UTF-8 never uses, with NUL bytes among them.
void printGarbage()
{
    static const char bytes[] = "\xa0\xa1 Name:\xc3\x28 \xe2\x28\xa1\xf0\x28\x8c\xbc\n"
                                "UUID:\xc0\xaf\xed\xa0\x80\xfe\xff\n\0State:\0\xff\n";
    printOutBytes(QByteArray(bytes, sizeof(bytes) - 1));
}

// What VBoxManage prints when it cannot reach VBoxSVC; "--version" needs no service.
bool serviceUnavailable(const QStringList &args)
{
    if (args.isEmpty() || versionFlags().contains(args.first()))
        return false;
    printError(QStringLiteral("Failed to create the VirtualBox object!\n"
                              "Code NS_ERROR_FACTORY_NOT_REGISTERED (0x80040154) - Class not "
                              "registered (extended info not available)\n"
                              "Most likely, the VirtualBox COM server is not running or failed to "
                              "start."));
    return true;
}

// The process faults that print their own answer instead of running the command.
bool answerInstead(const QString &kind, const QStringList &args, int *exitCode)
{
    if (kind == QLatin1String("flood"))
        printFlood();
    else if (kind == QLatin1String("garbage"))
        printGarbage();
    else if (kind == QLatin1String("noservice") && serviceUnavailable(args))
        *exitCode = ExitFailure;
    else if (kind != QLatin1String("empty"))
        return false;
    return true;
}

// Faults that act the same on every command; the others are left to the handlers.
bool applyGenericFault(Context &context, const QStringList &args, int *exitCode)
{
    const Fault *fault = context.fault;
    if (!fault)
        return false;
    if (fault->kind == QLatin1String("locked")) {
        const QString vm = fault->vm.isEmpty() && args.size() > 1 ? args[1] : fault->vm;
        *exitCode = lockedError(vm, QStringLiteral("LockMachine(a->session, LockType_Write)"), 525,
                                QStringLiteral("VBoxManageModifyVM.cpp"));
        return true;
    }
    const bool hostOnlyCreate = args.size() > 1 && args[0] == QLatin1String("hostonlyif") &&
                                args[1] == QLatin1String("create");
    // A failed start is reported after the machine's launch has begun.
    const bool startVm = !args.isEmpty() && args[0] == QLatin1String("startvm");
    if (fault->kind == QLatin1String("fail") && !hostOnlyCreate && !startVm) {
        const QString message =
            fault->message.isEmpty() ? QStringLiteral("Injected failure") : fault->message;
        if (fault->code.isEmpty())
            printError(message);
        else
            printComError(
                {message, codeWithValue(fault->code), QStringLiteral("VirtualBoxWrap"),
                 QStringLiteral("IVirtualBox"),
                 fault->context.isEmpty() ? QString() : fault->context + QStringLiteral("()"), 1,
                 QStringLiteral("VBoxManage.cpp")});
        *exitCode = fault->exitCode;
        return true;
    }
    return false;
}

} // namespace

void printWrapperWarnings(const QStringList &args)
{
    Faults faults;
    faults.load(environment("VBOXSIM_FAULTS"), environment("VBOXSIM_HOME"));
    if (!faults.take(args, Faults::Wrapper))
        return;
    // VBox.sh prints this with "cat" on stdout, before every command.
    printOut(QStringLiteral("WARNING: The vboxdrv kernel module is not loaded. Either there is no "
                            "module\n"
                            "         available for the current kernel (%1) or it failed to\n"
                            "         load. Please recompile the kernel module and install it by\n"
                            "\n"
                            "           sudo /sbin/vboxconfig\n"
                            "\n"
                            "         You will not be able to start VMs until this problem is "
                            "fixed.\n")
                 .arg(hostKernelRelease()));
}

int syntaxError(Context &context, const QString &message)
{
    printErr(context.format->logo());
    printError(message);
    return ExitSyntax;
}

namespace {

int runCommand(const QStringList &args)
{
    Context context;
    context.format = Format::create(environment("VBOXSIM_VERSION"), UserLocale::messageLanguage());
    if (args.isEmpty()) {
        printOut(context.format->logo() + QStringLiteral("Usage:\n\nVBoxManage [<general option>] "
                                                         "<command>\n"));
        return ExitSuccess;
    }
    if (versionFlags().contains(args.first())) {
        printOut(context.format->versionString() + '\n');
        return ExitSuccess;
    }
    if (args.first() == QLatin1String("--vboxsim-make-sample-appliance") && args.size() == 2)
        return writeSampleAppliance(args[1]) ? ExitSuccess : ExitFailure;
    const Handler handler = handlers().value(args.first());
    if (!handler)
        return syntaxError(context, QStringLiteral("Invalid command '%1'").arg(args.first()));
    if (args.size() == 1) {
        printOut(context.format->logo() +
                 QStringLiteral("Usage:\n\nVBoxManage %1 ...\n").arg(args.first()));
        return ExitFailure;
    }
    context.home = environment("VBOXSIM_HOME");
    if (context.home.isEmpty()) {
        printError(QStringLiteral("VBOXSIM_HOME is not set: the stand-in needs a folder for its "
                                  "simulated host"));
        return ExitFailure;
    }
    bool ok = false;
    const int bootMs = environment("VBOXSIM_BOOT_MS").toInt(&ok);
    context.bootMs = ok && bootMs >= 0 ? bootMs : 1500;
    StateStore store(context.home);
    QString error;
    if (!store.lock(&error)) {
        printError(error);
        return ExitFailure;
    }
    context.store = &store;
    context.faults.load(environment("VBOXSIM_FAULTS"), context.home);
    context.fault = context.faults.take(args);
    // A slow command waits without holding the host, as VBoxSVC serves others meanwhile.
    if (context.faultIs("slow") && args.first() != QLatin1String("export")) {
        store.unlock();
        QThread::msleep(static_cast<unsigned long>(context.fault->ms));
        if (!store.lock(&error)) {
            printError(error);
            return ExitFailure;
        }
    }
    context.host = store.load();
    int exitCode = ExitSuccess;
    if (!applyGenericFault(context, args, &exitCode))
        exitCode = handler(context, args);
    if (context.changed && !store.save(context.host)) {
        printError(QStringLiteral("Cannot save the simulated host in '%1'").arg(context.home));
        return ExitFailure;
    }
    return exitCode;
}

} // namespace

int runVBoxManage(const QStringList &args)
{
    Faults faults;
    faults.load(environment("VBOXSIM_FAULTS"), environment("VBOXSIM_HOME"));
    const Fault *fault = faults.take(args, Faults::Process);
    const QString kind = fault ? fault->kind : QString();
    if (kind == QLatin1String("hang"))
        QThread::sleep(HangSeconds);
    int exitCode = ExitSuccess;
    if (answerInstead(kind, args, &exitCode))
        return exitCode;
    // VBoxSVC does the work; the client dies while it prints what came of it.
    const bool dies = kind == QLatin1String("killed");
    if (dies)
        holdOutput();
    exitCode = runCommand(args);
    if (dies)
        dieHalfWay();
    return exitCode;
}

} // namespace VBoxSim
