// SPDX-License-Identifier: Apache-2.0
#include "causes.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <functional>
#include <vector>

namespace {

// The untranslated parts of one failure.
struct Facts
{
    QString code;           // "E_ACCESSDENIED", from "Details: code X (0x...)" or "Code X (0x...)"
    QString component;      // "MachineWrap"
    QString context;        // the call of the "Context:" line: "LockMachine", "handleUnregisterVM"
    QSet<QString> statuses; // VERR_* tokens, and those that "rc=-N" stands for
    bool wrapperWarned = false; // the wrapper said the kernel driver is missing
    int exitStatus = 0;
    QString command;
    QString text; // everything, for the English fallbacks only
};

QString captured(const QString &text, const QString &pattern)
{
    return QRegularExpression(pattern).match(text).captured(1);
}

Facts factsOf(const Causes::FailedRun &run)
{
    Facts facts;
    facts.text = run.output;
    facts.exitStatus = run.exitStatus;
    facts.command = run.command;
    facts.code = Causes::code(run.output);
    facts.component = captured(run.output, QStringLiteral("\\bcomponent ([A-Za-z0-9_]+)"));
    facts.context = captured(
        run.output, QStringLiteral("Context: \"(?:[A-Za-z_]+ )?([A-Za-z_][A-Za-z0-9_]*)\\("));
    static const QRegularExpression status(QStringLiteral("\\bVERR_[A-Z0-9_]+"));
    for (auto it = status.globalMatch(run.output); it.hasNext();)
        facts.statuses.insert(it.next().captured(0));
    // The windows of the desktop application show statuses by number.
    if (run.output.contains(QLatin1String("rc=-1908")))
        facts.statuses.insert(QStringLiteral("VERR_VM_DRIVER_NOT_INSTALLED"));
    if (run.output.contains(QLatin1String("rc=-1912")))
        facts.statuses.insert(QStringLiteral("VERR_VM_DRIVER_VERSION_MISMATCH"));
    facts.wrapperWarned =
        run.output.contains(QLatin1String("WARNING: The vboxdrv kernel module")) ||
        run.output.contains(QLatin1String("WARNING: The character device "
                                          "/dev/vboxdrv"));
    return facts;
}

bool hasStatus(const Facts &facts, std::initializer_list<const char *> names)
{
    for (const char *name : names)
        if (facts.statuses.contains(QLatin1String(name)))
            return true;
    return false;
}

bool hasStatusPrefix(const Facts &facts, const QString &prefix)
{
    for (const QString &status : facts.statuses)
        if (status.startsWith(prefix))
            return true;
    return false;
}

bool says(const Facts &facts, const char *english)
{
    return facts.text.contains(QLatin1String(english));
}

// A start whose VM process died before it could say why: with MachineWrap's bare failure,
// the process could not open the kernel driver.
bool processDiedAtStart(const Facts &facts)
{
    return facts.command == QLatin1String("startvm") &&
           facts.code == QLatin1String("NS_ERROR_FAILURE") &&
           facts.component == QLatin1String("MachineWrap") && facts.context.isEmpty();
}

struct Rule
{
    std::function<bool(const Facts &)> applies;
    const char *cause;
};

const std::vector<Rule> &rules()
{
    static const std::vector<Rule> table{
        {[](const Facts &f) { return hasStatus(f, {"VERR_VMX_IN_VMX_ROOT_MODE"}); },
         "KVM holds the processor's VT-x: stop its virtual machines and unload it with 'sudo "
         "modprobe -r kvm_intel', or start Linux with kvm.enable_virt_at_load=0"},
        {[](const Facts &f) {
             return hasStatus(f, {"VERR_SVM_IN_USE", "VERR_SVM_HOST_SVME_NOT_ENABLED"});
         },
         "KVM holds the processor's AMD-V: stop its virtual machines and unload it with 'sudo "
         "modprobe -r kvm_amd', or start Linux with kvm.enable_virt_at_load=0"},
        {[](const Facts &f) {
             return hasStatus(f,
                              {"VERR_VMM_R0_VERSION_MISMATCH", "VERR_VM_DRIVER_VERSION_MISMATCH"});
         },
         "VirtualBox's kernel modules are of another version than VirtualBox: rebuild them with "
         "'sudo /sbin/vboxconfig', or restart the computer after an upgrade"},
        {[](const Facts &f) {
             return hasStatus(f, {"VERR_VM_DRIVER_NOT_INSTALLED"}) || f.wrapperWarned;
         },
         "VirtualBox's kernel driver is not loaded: load it with 'sudo /sbin/vboxconfig' (with "
         "Secure Boot on, sign its modules first)"},
        {processDiedAtStart,
         "the device's VirtualBox process ended while starting, most often because VirtualBox's "
         "kernel driver is not loaded: run 'sudo /sbin/vboxconfig' (with Secure Boot on, sign its "
         "modules first)"},
        {[](const Facts &f) { return hasStatusPrefix(f, QStringLiteral("VERR_VMX_")); },
         "the processor's VT-x is missing or disabled: turn it on in the computer's firmware "
         "(BIOS or UEFI) settings"},
        {[](const Facts &f) { return hasStatusPrefix(f, QStringLiteral("VERR_SVM_")); },
         "the processor's AMD-V is missing or disabled: turn it on in the computer's firmware "
         "(BIOS or UEFI) settings"},
        {[](const Facts &f) { return hasStatus(f, {"VERR_DISK_FULL"}); },
         "the disk is full: free some space and try again"},
        {[](const Facts &f) {
             return f.code == QLatin1String("E_ACCESSDENIED") &&
                    f.context == QLatin1String("EnableStaticIPConfig");
         },
         "the host-only network's address is outside the ranges /etc/vbox/networks.conf allows: "
         "add its range there (a line such as '* 192.168.56.0/21')"},
        {[](const Facts &f) {
             return (f.code == QLatin1String("E_ACCESSDENIED") &&
                     f.context == QLatin1String("LockMachine")) ||
                    says(f, "The object functionality is limited");
         },
         "VirtualBox cannot read the device's settings (it is inaccessible): restore its .vbox "
         "file, or unregister it with 'VBoxManage unregistervm' and its UUID"},
        {[](const Facts &f) {
             static const QStringList calls{QStringLiteral("LockMachine"),
                                            QStringLiteral("LaunchVMProcess"),
                                            QStringLiteral("Unregister")};
             // A snapshot of a device whose disks another session holds fails in the
             // session VirtualBox opened for it.
             const bool mediaHeld = f.command == QLatin1String("snapshot") &&
                                    f.component == QLatin1String("SessionMachine");
             return (f.code == QLatin1String("VBOX_E_INVALID_OBJECT_STATE") &&
                     (calls.contains(f.context) || mediaHeld)) ||
                    says(f, "already locked");
         },
         "the device is in use by another program (a VirtualBox window or another vmtools): "
         "close it or wait until it is done, then try again"},
        {[](const Facts &f) {
             return (f.code == QLatin1String("NS_ERROR_INVALID_ARG") &&
                     f.context.contains(QLatin1String("Medium"))) ||
                    says(f, "Cannot register the hard disk");
         },
         "a disk with the same UUID is already registered in VirtualBox: remove the old one "
         "(VirtualBox's media manager, or 'VBoxManage closemedium'), then try again"},
        {[](const Facts &f) {
             return (f.code == QLatin1String("VBOX_E_OBJECT_IN_USE") &&
                     f.command == QLatin1String("unregistervm")) ||
                    says(f, "child media");
         },
         "a linked clone still uses the device's disks, so VirtualBox unregistered it but kept "
         "its files: delete the clones first, then the folder"},
        {[](const Facts &f) {
             return hasStatusPrefix(f, QStringLiteral("VERR_TAR_")) ||
                    says(f, "Could not read OVF file") || says(f, "Error reading OVA");
         },
         "the file is not an appliance: give an .ova file that VirtualBox exported"},
        {[](const Facts &f) { return hasStatus(f, {"VERR_ACCESS_DENIED"}); },
         "permission denied: check who owns the device's files and folders"},
        {[](const Facts &f) {
             return f.code == QLatin1String("NS_ERROR_FACTORY_NOT_REGISTERED") ||
                    says(f, "Failed to create the VirtualBox object");
         },
         "VirtualBox's service cannot be reached: check that 'VBoxManage list vms' works for "
         "this user"},
        {[](const Facts &f) { return f.exitStatus == 2; },
         "VirtualBox refused vmtools' command line (exit status 2): its version is probably not "
         "supported (see 'vmtools --version')"},
    };
    return table;
}

} // namespace

namespace Causes {

QString code(const QString &output)
{
    return captured(output, QStringLiteral("\\b[Cc]ode ([A-Z][A-Z0-9_]+) \\(0x"));
}

QString plain(const FailedRun &run)
{
    if (run.output.isEmpty() && run.exitStatus == 0)
        return QString();
    const Facts facts = factsOf(run);
    for (const Rule &rule : rules())
        if (rule.applies(facts))
            return QString::fromUtf8(rule.cause);
    return QString();
}

} // namespace Causes
