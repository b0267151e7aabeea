// SPDX-License-Identifier: Apache-2.0
#include "doctor.h"

#include "commands.h"

#include "hostfiles.h"
#include "versionreport.h"

#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsengine.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLockFile>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QVersionNumber>

#include <algorithm>
#include <memory>

namespace {

using Doctor::Result;
using Doctor::Status;
using VBoxManageCommon::CallResult;

const QString VBoxManage = QStringLiteral("VBoxManage");
constexpr qint64 GB = 1024LL * 1024 * 1024;

// What VirtualBox answered to the questions that several checks need.
struct VirtualBox
{
    QString path; // empty when VBoxManage is not on PATH
    CallResult version;
    QString release; // "7.2.22_Debianr175245"; empty when VBoxManage named none
    QVersionNumber number;
    CallResult hostinfo;

    bool answers() const { return !release.isEmpty() && hostinfo.exitCode == 0; }
    CallResult ask(const QStringList &arguments) const
    {
        return VBoxManageCommon::call(VBoxManage, arguments);
    }
};

VirtualBox askVirtualBox()
{
    VirtualBox vbox;
    vbox.path = QStandardPaths::findExecutable(VBoxManage);
    if (vbox.path.isEmpty())
        return vbox;
    vbox.version = vbox.ask({QStringLiteral("--version")});
    if (vbox.version.exitCode == 0)
        vbox.release = VersionReport::versionLine(vbox.version.output);
    vbox.number = QVersionNumber::fromString(vbox.release);
    if (!vbox.release.isEmpty())
        vbox.hostinfo = vbox.ask({QStringLiteral("list"), QStringLiteral("hostinfo")});
    return vbox;
}

Result ok(const QString &detail)
{
    return {QString(), QString(), Status::Ok, detail, QString()};
}
Result warning(const QString &detail, const QString &remedy)
{
    return {QString(), QString(), Status::Warning, detail, remedy};
}
Result problem(const QString &detail, const QString &remedy)
{
    return {QString(), QString(), Status::Problem, detail, remedy};
}
Result skipped(const QString &detail = QStringLiteral("VirtualBox did not answer"))
{
    return {QString(), QString(), Status::Skipped, detail, QString()};
}

// VirtualBox's own first error line, without its prefix.
QString firstError(const CallResult &result)
{
    static const QRegularExpression error(QStringLiteral("^VBoxManage: error: (.*)$"),
                                          QRegularExpression::MultilineOption);
    const QString line = error.match(result.error).captured(1).trimmed();
    return line.isEmpty() ? result.error.trimmed().section(QLatin1Char('\n'), 0, 0) : line;
}

// The value of a "Label:   value" line.
QString labelled(const QString &text, const QString &label)
{
    const QRegularExpression line(QLatin1Char('^') + QRegularExpression::escape(label) +
                                      QStringLiteral(":[ \\t]*(.*?)\\r?$"),
                                  QRegularExpression::MultilineOption);
    return line.match(text).captured(1);
}

bool atLeast(const QVersionNumber &number, int major, int minor, int micro = 0)
{
    return QVersionNumber::compare(number, QVersionNumber(major, minor, micro)) >= 0;
}

Result checkVBoxManage(const VirtualBox &vbox)
{
    if (vbox.path.isEmpty())
        return problem(QStringLiteral("VBoxManage is not on PATH"),
                       QStringLiteral("install VirtualBox (5.2 to 7.2), which brings VBoxManage"));
    if (vbox.release.isEmpty())
        return problem(QStringLiteral("%1 ran but named no version (exit status %2)")
                           .arg(vbox.path)
                           .arg(vbox.version.exitCode),
                       QStringLiteral("reinstall VirtualBox"));
    if (vbox.hostinfo.exitCode != 0)
        return problem(QStringLiteral("VirtualBox's service does not answer: %1")
                           .arg(firstError(vbox.hostinfo)),
                       QStringLiteral("end your VBoxSVC process (pkill -u \"$USER\" VBoxSVC) and "
                                      "try again; if it persists, reinstall VirtualBox"));
    return ok(QStringLiteral("%1 and VirtualBox's service answer").arg(vbox.path));
}

Result checkVersion(const VirtualBox &vbox)
{
    if (vbox.release.isEmpty())
        return skipped(QStringLiteral("VBoxManage named no version"));
    if (!atLeast(vbox.number, 5, 2))
        return problem(QStringLiteral("VirtualBox %1 is older than 5.2").arg(vbox.release),
                       QStringLiteral("install VirtualBox 7.2"));
    if (atLeast(vbox.number, 7, 3))
        return warning(QStringLiteral("VirtualBox %1 is newer than 7.2, the latest that vmtools "
                                      "knows")
                           .arg(vbox.release),
                       QStringLiteral("none needed; should a command fail, report it with the file "
                                      "of 'vmtools dump FILE'"));
    return ok(QStringLiteral("VirtualBox %1 (5.2 to 7.2 are supported)").arg(vbox.release));
}

QString driverRemedy(const HostFiles &files)
{
    // Oracle's packages build the module with vboxconfig; Debian's with DKMS.
    if (files.exists(QStringLiteral("/sbin/vboxconfig")))
        return QStringLiteral("sudo /sbin/vboxconfig");
    return QStringLiteral("sudo apt-get install virtualbox-dkms linux-headers-%1 && sudo modprobe "
                          "vboxdrv")
        .arg(files.kernelRelease().isEmpty() ? QStringLiteral("$(uname -r)")
                                             : files.kernelRelease());
}

Result checkDriver(const VirtualBox &vbox, const HostFiles &files)
{
    // VBoxManage's wrapper script checks the same, and says so on stdout before every command.
    static const QRegularExpression warning(
        QStringLiteral("^WARNING: (The vboxdrv kernel module is not loaded|The character device "
                       "/dev/vboxdrv does not exist)"),
        QRegularExpression::MultilineOption);
    const QString said = warning.match(vbox.version.output).captured(1);
    if (!files.exists(QStringLiteral("/dev/vboxdrv")))
        return problem(QStringLiteral("/dev/vboxdrv does not exist: VirtualBox's kernel driver "
                                      "is missing, so no device can start"),
                       driverRemedy(files));
    if (!said.isEmpty())
        return problem(QStringLiteral("VBoxManage says: %1; no device can start").arg(said),
                       driverRemedy(files));
    return ok(QStringLiteral("/dev/vboxdrv is there"));
}

Result checkKvm(const VirtualBox &vbox, const HostFiles &files)
{
    const QString module = files.kvmModule();
    if (module.isEmpty())
        return ok(QStringLiteral("KVM's kvm_intel and kvm_amd are not loaded"));
    const QString atLoad = files.kvmVirtAtLoad();
    if (atLoad != QLatin1String("Y"))
        return ok(QStringLiteral("%1 is loaded, but takes the processor's virtualization only "
                                 "while a KVM guest runs")
                      .arg(module));
    const QString kernel = files.kernelRelease();
    // From kernel 6.16 on, VirtualBox 7.2's driver lets KVM set up VT-x and shares it.
    if (module == QLatin1String("kvm_intel") && atLeast(vbox.number, 7, 2) &&
        atLeast(QVersionNumber::fromString(kernel), 6, 16))
        return ok(QStringLiteral("kvm_intel holds VT-x, which VirtualBox 7.2 shares with it on "
                                 "kernel %1")
                      .arg(kernel));
    const bool intel = module == QLatin1String("kvm_intel");
    return problem(QStringLiteral("%1 took %2 when it was loaded (kernel %3 loads KVM so), and "
                                  "VirtualBox cannot start devices (%4)")
                       .arg(module, intel ? QStringLiteral("VT-x") : QStringLiteral("AMD-V"),
                            kernel,
                            intel ? QStringLiteral("VERR_VMX_IN_VMX_ROOT_MODE")
                                  : QStringLiteral("VERR_SVM_IN_USE")),
                   QStringLiteral("unload it (sudo modprobe -r %1), or for good add "
                                  "kvm.enable_virt_at_load=0 to the kernel command line")
                       .arg(module));
}

Result checkHardwareVirtualization(const VirtualBox &vbox, const HostFiles &files)
{
    const QStringList flags = files.cpuFlags();
    const bool offered =
        flags.contains(QLatin1String("vmx")) || flags.contains(QLatin1String("svm"));
    if (!offered)
        return problem(QStringLiteral("the processor offers no VT-x or AMD-V (no vmx or svm flag "
                                      "in /proc/cpuinfo)"),
                       QStringLiteral("switch VT-x or AMD-V (SVM) on in the firmware settings; in "
                                      "a virtual machine, enable nested virtualization"));
    const QString reported =
        labelled(vbox.hostinfo.output, QStringLiteral("Processor supports HW virtualization"));
    if (vbox.answers() && reported != QLatin1String("yes"))
        return warning(QStringLiteral("the processor offers it, but VirtualBox reports none"),
                       QStringLiteral("mend the kernel driver first (VirtualBox asks it)"));
    return ok(QStringLiteral("VT-x or AMD-V is offered"));
}

// The host-only interfaces of "list hostonlyifs": name, address and mask.
struct Interface
{
    QString name;
    QString address;
    QString mask;
};

QList<Interface> hostOnlyInterfaces(const QString &listing)
{
    QList<Interface> interfaces;
    for (const QString &line : listing.split(QLatin1Char('\n'))) {
        const QString label = line.section(QLatin1Char(':'), 0, 0).trimmed();
        const QString value = line.section(QLatin1Char(':'), 1).trimmed();
        if (label == QLatin1String("Name"))
            interfaces.append({value, QString(), QString()});
        else if (!interfaces.isEmpty() && label == QLatin1String("IPAddress"))
            interfaces.last().address = value;
        else if (!interfaces.isEmpty() && label == QLatin1String("NetworkMask"))
            interfaces.last().mask = value;
    }
    return interfaces;
}

// The interface whose address plan vmtools uses: the one it remembers, or else the one
// that VirtualBox would make next (vboxnetN at 192.168.(56+N).1/24).
Interface plannedInterface(const QList<Interface> &interfaces, const QString &remembered)
{
    QStringList names;
    for (const Interface &interface : interfaces) {
        if (interface.name == remembered)
            return interface;
        names << interface.name;
    }
    int unit = 0;
    while (names.contains(QStringLiteral("vboxnet%1").arg(unit)))
        ++unit;
    return {QStringLiteral("vboxnet%1").arg(unit), QStringLiteral("192.168.%1.1").arg(56 + unit),
            QStringLiteral("255.255.255.0")};
}

QString rememberedInterface()
{
    return Settings::get(QStringLiteral("host.only.interface")).toString();
}

Result checkHostOnlyNetwork(const VirtualBox &vbox)
{
    if (!vbox.answers())
        return skipped();
    // Start-up that only looks: a network that is not usable is left as it is.
    LoadStateInfo state{-1, QString()};
    const std::unique_ptr<VMToolsEngine> engine(
        VMToolsEngine::loadEngine(&state, VMToolsEngine::NetworkRepair::Forbidden));
    if (!engine)
        return problem(
            QStringLiteral("the engine plug-in could not be loaded from %1")
                .arg(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/")),
            QStringLiteral("reinstall vmtools"));
    if (engine->isSystemReady())
        return ok(QStringLiteral("%1 is up, routed and served by its DHCP server")
                      .arg(engine->getAdapterName()));
    const QString remembered = rememberedInterface();
    if (remembered.isEmpty())
        return warning(QStringLiteral("vmtools has made no host-only interface yet"),
                       QStringLiteral("vmtools repair-network (creating a device makes one too)"));
    return problem(QStringLiteral("%1 is missing, down or unrouted, or has no DHCP server that "
                                  "fits it")
                       .arg(remembered),
                   QStringLiteral("vmtools repair-network"));
}

Result checkNetworksConf(const VirtualBox &vbox, const HostFiles &files)
{
    if (!vbox.answers())
        return skipped();
    if (!atLeast(vbox.number, 6, 1, 28))
        return ok(QStringLiteral("VirtualBox before 6.1.28 allows any host-only address"));
    const CallResult listing = vbox.ask({QStringLiteral("list"), QStringLiteral("hostonlyifs")});
    const Interface planned =
        plannedInterface(hostOnlyInterfaces(listing.output), rememberedInterface());
    const QHostAddress address(planned.address);
    const HostFiles::Network used =
        QHostAddress::parseSubnet(planned.address + QLatin1Char('/') + planned.mask);
    const QString confPath = QStringLiteral("/etc/vbox/networks.conf");
    const QString conf = files.read(confPath);
    const QList<HostFiles::Network> allowed = HostFiles::allowedNetworks(conf);
    QStringList names;
    for (const HostFiles::Network &network : allowed) {
        if (address.isInSubnet(network) && used.second >= network.second)
            return ok(QStringLiteral("%1 (%2) lies in %3/%4, which %5 allows")
                          .arg(planned.address, planned.name, network.first.toString())
                          .arg(network.second)
                          .arg(conf.isNull() ? QStringLiteral("VirtualBox by default") : confPath));
        names << network.first.toString() + QLatin1Char('/') + QString::number(network.second);
    }
    const QString usedText =
        used.first.toString() + QLatin1Char('/') + QString::number(used.second);
    return problem(
        QStringLiteral("%1 (%2) lies outside what %3 allows (%4): VirtualBox refuses it "
                       "(E_ACCESSDENIED)")
            .arg(planned.address, planned.name,
                 conf.isNull() ? QStringLiteral("VirtualBox by default") : confPath,
                 names.isEmpty() ? QStringLiteral("nothing") : names.join(QLatin1Char(' '))),
        QStringLiteral("allow it as root with the line '* %1' in %2")
            .arg(conf.isNull() ? QStringLiteral("192.168.56.0/21 ") + usedText : usedText,
                 confPath));
}

Result checkLanguage(const VirtualBox &vbox)
{
    if (!vbox.answers())
        return skipped();
    if (!atLeast(vbox.number, 7, 0))
        return ok(QStringLiteral("VirtualBox before 7.0 speaks English only"));
    // VirtualBox's service answers in the language of whoever started it; the code after
    // "Details:" is never translated, so a known failure shows what language it speaks.
    const CallResult lookUp = VBoxManageCommon::call(
        VBoxManage,
        {QStringLiteral("showvminfo"), QStringLiteral("00000000-0000-0000-0000-000000000000")},
        VBoxManageCommon::Silent);
    if (!lookUp.error.contains(QLatin1String("VBOX_E_OBJECT_NOT_FOUND")))
        return skipped(QStringLiteral("VirtualBox's answer did not tell"));
    const QString message = firstError(lookUp);
    if (message.startsWith(QLatin1String("Could not find a registered machine")))
        return ok(QStringLiteral("VirtualBox's service speaks English"));
    return warning(QStringLiteral("VirtualBox's service speaks the language of whoever started it, "
                                  "not English: \"%1\"")
                       .arg(message),
                   QStringLiteral("none needed, vmtools reads VirtualBox's untranslated codes; "
                                  "for English messages: VBoxManage setproperty language C"));
}

Result checkInaccessibleMachines(const VirtualBox &vbox)
{
    if (!vbox.answers())
        return skipped();
    static const QRegularExpression inaccessible(
        QStringLiteral("^\"<inaccessible>\" \\{([0-9a-fA-F-]{36})\\}\\r?$"),
        QRegularExpression::MultilineOption);
    const CallResult listing = vbox.ask({QStringLiteral("list"), QStringLiteral("vms")});
    QStringList commands;
    auto match = inaccessible.globalMatch(listing.output);
    while (match.hasNext())
        commands << QStringLiteral("VBoxManage unregistervm {%1}").arg(match.next().captured(1));
    if (commands.isEmpty())
        return ok(QStringLiteral("VirtualBox can read every machine it lists"));
    return warning(QStringLiteral("%1 machine(s) inaccessible: their settings cannot be read "
                                  "(moved, deleted or on a missing disk)")
                       .arg(commands.size()),
                   QStringLiteral("unregister each (its files stay where they are):\n") +
                       commands.join(QLatin1Char('\n')));
}

bool sameFolder(const QString &a, const QString &b)
{
    return QDir::cleanPath(a) == QDir::cleanPath(b);
}

// The plug-in notes the user's machine folder beside its lock while it switches the
// folder, and removes the note once the folder is back.
QString folderNotePath()
{
    return Paths::getQuillomatePath() + QStringLiteral("/locks/machine-folder.user");
}

Result checkMachineFolder(const VirtualBox &vbox, bool switchInProgress)
{
    if (!vbox.answers())
        return skipped();
    const CallResult properties =
        vbox.ask({QStringLiteral("list"), QStringLiteral("systemproperties")});
    const QString current = labelled(properties.output, QStringLiteral("Default machine folder"));
    QFile note(folderNotePath());
    if (note.open(QIODevice::ReadOnly)) {
        const QString user = QString::fromUtf8(note.readAll());
        if (switchInProgress)
            return ok(QStringLiteral("another program has it switched for an import, clone or "
                                     "delete right now"));
        if (!sameFolder(current, user))
            return problem(QStringLiteral("an interrupted run left VirtualBox's default machine "
                                          "folder at %1; yours is %2")
                               .arg(current, user),
                           QStringLiteral("vmtools info (it puts %1 back)").arg(user));
    } else if (sameFolder(current, Commands::deployDirectory())) {
        return problem(QStringLiteral("VirtualBox's default machine folder is the deploy folder "
                                      "%1, where vmtools only switches it for a moment")
                           .arg(current),
                       QStringLiteral("VBoxManage setproperty machinefolder default"));
    }
    return ok(current);
}

Result checkFreeSpace()
{
    const QString folder = Commands::deployDirectory();
    QFileInfo existing(folder);
    while (!existing.exists() && !existing.isRoot())
        existing.setFile(existing.absolutePath());
    if (!existing.isDir() || !existing.isWritable())
        return problem(QStringLiteral("the deploy folder %1 cannot be made or written (%2 is in "
                                      "the way)")
                           .arg(folder, existing.filePath()),
                       QStringLiteral("choose another one: vmtools deploy-dir DIR"));
    return Doctor::freeSpace(folder, QStorageInfo(existing.filePath()).bytesAvailable());
}

QString settingsProblem(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return QString();
    if (!file.isFile() || !file.isReadable())
        return QStringLiteral("%1 is not a readable file").arg(path);
    QSettings settings(path, QSettings::IniFormat);
    settings.allKeys();
    if (settings.status() != QSettings::NoError)
        return QStringLiteral("%1 cannot be read as settings").arg(path);
    return QString();
}

Result checkSettings()
{
    // The user's store, and the install store that the desktop application keeps beside
    // itself (and vmtools beside itself).
    const QStringList files{Settings::getApplicationSettings()->fileName(),
                            QCoreApplication::applicationDirPath() +
                                QStringLiteral("/quillomate.ini")};
    for (const QString &path : files) {
        const QString wrong = settingsProblem(path);
        if (!wrong.isEmpty())
            return problem(wrong, QStringLiteral("make it a readable file (chmod u+rw), or move "
                                                 "it aside to start from the defaults"));
    }
    return ok(files.join(QStringLiteral(", ")));
}

Result named(const QString &id, const QString &name, Result result)
{
    result.id = id;
    result.name = name;
    return result;
}

} // namespace

namespace Doctor {

QList<Result> run(const HostFiles &files)
{
    const VirtualBox vbox = askVirtualBox();
    // A folder that a run left switched stays so while doctor looks: the engine start-up of
    // the network check would otherwise put it back. Another process that holds the lock is
    // switching it now.
    QLockFile folderLock(Paths::getQuillomatePath() + QStringLiteral("/locks/machine-folder.lock"));
    folderLock.setStaleLockTime(0);
    const bool switchInProgress = QFile::exists(folderNotePath()) && !folderLock.tryLock(0);
    const Result folder = named(QStringLiteral("machine-folder"), QStringLiteral("Machine folder"),
                                checkMachineFolder(vbox, switchInProgress));
    return {
        named(QStringLiteral("vboxmanage"), QStringLiteral("VBoxManage"), checkVBoxManage(vbox)),
        named(QStringLiteral("version"), QStringLiteral("VirtualBox version"), checkVersion(vbox)),
        named(QStringLiteral("kernel-driver"), QStringLiteral("Kernel driver"),
              checkDriver(vbox, files)),
        named(QStringLiteral("kvm"), QStringLiteral("KVM"), checkKvm(vbox, files)),
        named(QStringLiteral("hardware-virtualization"), QStringLiteral("Hardware virtualization"),
              checkHardwareVirtualization(vbox, files)),
        named(QStringLiteral("host-only-network"), QStringLiteral("Host-only network"),
              checkHostOnlyNetwork(vbox)),
        named(QStringLiteral("address-plan"), QStringLiteral("Address plan"),
              checkNetworksConf(vbox, files)),
        named(QStringLiteral("service-language"), QStringLiteral("Service language"),
              checkLanguage(vbox)),
        named(QStringLiteral("inaccessible-machines"), QStringLiteral("Inaccessible machines"),
              checkInaccessibleMachines(vbox)),
        folder,
        named(QStringLiteral("free-space"), QStringLiteral("Free space"), checkFreeSpace()),
        named(QStringLiteral("settings"), QStringLiteral("Settings files"), checkSettings()),
    };
}

Result freeSpace(const QString &folder, qint64 bytesAvailable)
{
    // A device's disks take a few GB once it has been used for a while.
    const QString found = QStringLiteral("%1 GB free for devices in %2")
                              .arg(static_cast<double>(bytesAvailable) / GB, 0, 'f', 1)
                              .arg(folder);
    const QString remedy = QStringLiteral("free some space there, or keep devices elsewhere: "
                                          "vmtools deploy-dir DIR");
    if (bytesAvailable < 2 * GB)
        return problem(found, remedy);
    if (bytesAvailable < 8 * GB)
        return warning(found, remedy);
    return ok(found);
}

int count(const QList<Result> &results, Status status)
{
    return static_cast<int>(
        std::count_if(results.cbegin(), results.cend(),
                      [status](const Result &r) { return r.status == status; }));
}

QString statusWord(Status status)
{
    switch (status) {
    case Status::Ok:
        return QStringLiteral("ok");
    case Status::Warning:
        return QStringLiteral("warning");
    case Status::Problem:
        return QStringLiteral("problem");
    case Status::Skipped:
        return QStringLiteral("skipped");
    }
    return QString();
}

QString text(const QList<Result> &results)
{
    int width = 0;
    for (const Result &result : results)
        width = qMax(width, result.name.size());
    const QString indent(8 + 2 + width + 2, QLatin1Char(' '));
    QString text;
    for (const Result &result : results) {
        text += statusWord(result.status).leftJustified(8 + 2) +
                result.name.leftJustified(width + 2) + result.detail + QLatin1Char('\n');
        const QStringList remedy = result.remedy.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (int i = 0; i < remedy.size(); ++i)
            text += indent + (i == 0 ? QStringLiteral("to do: ") : QStringLiteral("  ")) +
                    remedy.at(i) + QLatin1Char('\n');
    }
    const int problems = count(results, Status::Problem);
    const int warnings = count(results, Status::Warning);
    if (problems == 0 && warnings == 0)
        return text + QStringLiteral("All is well.\n");
    return text + QStringLiteral("%1 problem(s), %2 warning(s).\n").arg(problems).arg(warnings);
}

QJsonArray json(const QList<Result> &results)
{
    QJsonArray checks;
    for (const Result &result : results) {
        checks.append(QJsonObject{
            {QStringLiteral("id"), result.id},
            {QStringLiteral("name"), result.name},
            {QStringLiteral("status"), statusWord(result.status)},
            {QStringLiteral("detail"), result.detail},
            {QStringLiteral("remedy"),
             result.remedy.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(result.remedy)},
        });
    }
    return checks;
}

} // namespace Doctor
