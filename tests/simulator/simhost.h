#pragma once

// A simulated VirtualBox host of its own for each test, driven through the stand-in
// programs exactly as the plug-in drives them.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

struct ToolRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

class SimHost
{
public:
    explicit SimHost(const QString &version = QStringLiteral("5.2"))
        : m_version(version)
    {}

    QString home() const { return m_dir.path() + QStringLiteral("/host"); }
    QString path(const QString &relative) const { return m_dir.path() + '/' + relative; }
    void setBootMs(int ms) { m_bootMs = ms; }
    void setFaults(const QString &text)
    {
        QFile file(path(QStringLiteral("faults.txt")));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(text.toUtf8());
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("VBOXSIM_HOME"), home());
        env.insert(QStringLiteral("VBOXSIM_VERSION"), m_version);
        env.insert(QStringLiteral("VBOXSIM_BOOT_MS"), QString::number(m_bootMs));
        env.insert(QStringLiteral("VBOXSIM_FAULTS"), path(QStringLiteral("faults.txt")));
        return env;
    }

    static QString program(const QString &name)
    {
        return QStringLiteral(VBOXSIM_BIN_DIR) + '/' + name;
    }

    ToolRun vbox(const QStringList &args) const { return run(QStringLiteral("VBoxManage"), args); }
    ToolRun ip(const QStringList &args) const { return run(QStringLiteral("ip"), args); }

    ToolRun run(const QString &tool, const QStringList &args) const
    {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(program(tool), args);
        process.waitForFinished(60000);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    // A host-only interface with the DHCP plan the plug-in sets up.
    void addHostOnlyNetwork() const
    {
        vbox({"hostonlyif", "create"});
        vbox({"dhcpserver", "add", "--ifname", "vboxnet0", "--ip", "192.168.56.100", "--netmask",
              "255.255.255.0", "--lowerip", "192.168.56.101", "--upperip", "192.168.56.254",
              "--enable"});
    }

    // Imports the sample appliance as `name`, with its disks in the machine folder.
    ToolRun importSample(const QString &name) const
    {
        const QString folder = path(QStringLiteral("vms/") + name);
        return vbox({"import",   QStringLiteral(VBOXSIM_SAMPLE_OVA),
                     "--vsys",   "0",
                     "--vmname", name,
                     "--vsys",   "0",
                     "--unit",   "10",
                     "--disk",   folder + "/system.vmdk",
                     "--vsys",   "0",
                     "--unit",   "11",
                     "--disk",   folder + "/data.vmdk",
                     "--vsys",   "0",
                     "--unit",   "12",
                     "--disk",   folder + "/sdcard.vmdk"});
    }

    // The value of one "Label:   value" line of a listing.
    static QString field(const QString &text, const QString &label)
    {
        const QRegularExpression re(QStringLiteral("^") + QRegularExpression::escape(label) +
                                        QStringLiteral("\\s+(.*)$"),
                                    QRegularExpression::MultilineOption);
        return re.match(text).captured(1);
    }

private:
    QTemporaryDir m_dir;
    QString m_version;
    int m_bootMs = 0;
};
