#include "dispatch.h"

#include "commands.h"
#include "console.h"
#include "userlocale.h"

#include <QMap>
#include <QThread>

namespace VBoxSim {

namespace {

using Handler = int (*)(Context &, const QStringList &);

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
    if (fault->kind == QLatin1String("fail") && !hostOnlyCreate) {
        printError(fault->message.isEmpty() ? QStringLiteral("Injected failure") : fault->message);
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

int runVBoxManage(const QStringList &args)
{
    Context context;
    context.format = Format::create(environment("VBOXSIM_VERSION"), UserLocale::messageLanguage());
    if (args.isEmpty()) {
        printOut(context.format->logo() + QStringLiteral("Usage:\n\nVBoxManage [<general option>] "
                                                         "<command>\n"));
        return ExitSuccess;
    }
    static const QStringList versionFlags = {"--version", "-v", "-V", "-version", "-Version"};
    if (versionFlags.contains(args.first())) {
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

} // namespace VBoxSim
