// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include "console.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QJsonDocument>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace VBoxSim {

namespace {

const QByteArray PayloadMarker = "--- data ---\n";

QByteArray imageHeader(const QString &path, const Medium &medium)
{
    if (medium.format.compare(QLatin1String("VMDK"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("# Disk DescriptorFile\nversion=1\nCID=fffffffe\n"
                              "createType=\"monolithicSparse\"\n\n# Extent description\n"
                              "RW %1 SPARSE \"%2\"\n\n# The Disk Data Base\n#DDB\n\n"
                              "ddb.uuid.image=\"%3\"\n")
            .arg(medium.sizeMB * 2048)
            .arg(QFileInfo(path).fileName(), medium.uuid)
            .toUtf8();
    return QStringLiteral("<<< Oracle VM VirtualBox Disk Image >>>\nuuid=%1\nsize=%2MB\n")
        .arg(medium.uuid)
        .arg(medium.sizeMB)
        .toUtf8();
}

QByteArray payloadOf(const QByteArray &image)
{
    const int at = image.indexOf(PayloadMarker);
    return at < 0 ? QByteArray() : image.mid(at + PayloadMarker.size());
}

} // namespace

Machine *Context::machine(const QString &nameOrUuid, const QString &context, int line,
                          const QString &file)
{
    if (Machine *m = host.findMachine(nameOrUuid))
        return m;
    printComError({QStringLiteral("Could not find a registered machine named '%1'").arg(nameOrUuid),
                   codeObjectNotFound(), QStringLiteral("VirtualBoxWrap"),
                   QStringLiteral("IVirtualBox"), context, line, file});
    return nullptr;
}

Options::Options(const QStringList &args, int from, const QStringList &flags)
{
    for (int i = from; i < args.size(); ++i) {
        const QString &arg = args[i];
        if (!arg.startsWith('-') || arg.size() < 2) {
            m_positional.append(arg);
            continue;
        }
        // "-vsys" is the old spelling of "--vsys"; "-n" and "-o" are short options.
        QString name = arg.startsWith(QLatin1String("--")) || arg.size() == 2 ? arg : '-' + arg;
        const int equals = name.indexOf('=');
        if (equals > 0) {
            m_options.append({name.left(equals), name.mid(equals + 1)});
        } else if (flags.contains(name)) {
            m_options.append({name, QString()});
        } else if (i + 1 < args.size()) {
            m_options.append({name, args[++i]});
        } else {
            m_missingValue = name;
        }
    }
}

bool Options::has(const QString &name) const
{
    for (const auto &option : m_options)
        if (option.first == name)
            return true;
    return false;
}

QString Options::value(const QString &name, const QString &fallback) const
{
    for (const auto &option : m_options)
        if (option.first == name)
            return option.second;
    return fallback;
}

StateStore::StateStore(const QString &home)
    : m_home(home)
{}

StateStore::~StateStore()
{
    unlock();
}

void StateStore::unlock()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

bool StateStore::lock(QString *error)
{
    if (!QDir().mkpath(m_home)) {
        *error = QStringLiteral("Cannot create the folder '%1'").arg(m_home);
        return false;
    }
    const QByteArray path = QFile::encodeName(QDir(m_home).filePath(QStringLiteral(".lock")));
    m_fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (m_fd < 0 || ::flock(m_fd, LOCK_EX) != 0) {
        *error = QStringLiteral("Cannot lock '%1'").arg(QString::fromLocal8Bit(path));
        return false;
    }
    return true;
}

HostState StateStore::load()
{
    QFile file(QDir(m_home).filePath(QStringLiteral("state.json")));
    if (!file.open(QIODevice::ReadOnly))
        return HostState::defaultHost(m_home);
    return HostState::fromJson(QJsonDocument::fromJson(file.readAll()).object());
}

bool StateStore::save(const HostState &host)
{
    QSaveFile file(QDir(m_home).filePath(QStringLiteral("state.json")));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(QJsonDocument(host.toJson()).toJson());
    if (!file.commit())
        return false;
    for (const Machine &m : host.machines)
        if (QFileInfo(m.folder()).isDir())
            writeSettingsFile(m);
    return true;
}

void writeImageFile(const QString &path, const Medium &medium, const QByteArray &payload)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(imageHeader(path, medium));
    file.write(PayloadMarker);
    file.write(payload);
}

bool copyImageFile(const QString &source, const QString &target, const Medium &medium)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    const QByteArray payload = payloadOf(in.readAll());
    QFile out(target);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    out.write(imageHeader(target, medium));
    out.write(PayloadMarker);
    out.write(payload);
    return true;
}

namespace {

// As VirtualBox marks its current snapshot, and a machine that ended without being powered
// off or was saved.
QString stateAttributes(const Machine &m)
{
    QString attributes;
    if (!m.currentSnapshot.isEmpty())
        attributes = QStringLiteral(" currentSnapshot=\"{%1}\"").arg(m.currentSnapshot);
    if (m.state == QLatin1String("aborted"))
        return attributes + QStringLiteral(" aborted=\"true\"");
    if (m.state == QLatin1String("saved"))
        return attributes + QStringLiteral(" stateFile=\"Snapshots/%1.sav\"").arg(m.uuid);
    return attributes;
}

// The snapshot tree as VirtualBox keeps it: each child below its parent's Snapshots.
QString snapshotElements(const std::vector<Snapshot> &snapshots, int indent)
{
    QString xml;
    const QString pad(indent, QLatin1Char(' '));
    for (const Snapshot &snapshot : snapshots) {
        xml += QStringLiteral("%1<Snapshot uuid=\"{%2}\" name=\"%3\"")
                   .arg(pad, snapshot.uuid, snapshot.name.toHtmlEscaped());
        if (snapshot.children.empty()) {
            xml += QStringLiteral("/>\n");
            continue;
        }
        xml += QStringLiteral(">\n%1  <Snapshots>\n%2%1  </Snapshots>\n%1</Snapshot>\n")
                   .arg(pad, snapshotElements(snapshot.children, indent + 4));
    }
    return xml;
}

} // namespace

void writeSettingsFile(const Machine &m)
{
    QString xml = QStringLiteral("<?xml version=\"1.0\"?>\n"
                                 "<VirtualBox xmlns=\"http://www.virtualbox.org/\" "
                                 "version=\"1.16-linux\">\n"
                                 "  <Machine uuid=\"{%1}\" name=\"%2\" OSType=\"%3\"%4 "
                                 "lastStateChange=\"%5\">\n"
                                 "%8"
                                 "    <Hardware>\n"
                                 "      <CPU count=\"%6\"/>\n"
                                 "      <Memory RAMSize=\"%7\"/>\n"
                                 "      <GuestProperties>\n")
                      // One call: a name holding "%6" must stay as it is.
                      .arg(m.uuid, m.name.toHtmlEscaped(), m.config.osType, stateAttributes(m),
                           QDateTime::fromMSecsSinceEpoch(m.stateSinceMs, Qt::UTC)
                               .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ")),
                           QString::number(m.config.cpus), QString::number(m.config.memoryMB),
                           snapshotElements(m.snapshots, 4));
    for (const GuestProperty &p : m.config.guestProperties)
        if (!p.flags.contains(QLatin1String("TRANSIENT")))
            xml += QStringLiteral("        <GuestProperty name=\"%1\" value=\"%2\" "
                                  "timestamp=\"%3\" flags=\"%4\"/>\n")
                       .arg(p.name.toHtmlEscaped(), p.value.toHtmlEscaped())
                       .arg(p.timestampNs)
                       .arg(p.flags);
    xml += QStringLiteral("      </GuestProperties>\n    </Hardware>\n  </Machine>\n"
                          "</VirtualBox>\n");
    // VirtualBox writes only what changed, and keeps the settings it replaces beside them.
    QFile current(m.settingsFile);
    if (current.open(QIODevice::ReadOnly)) {
        if (current.readAll() == xml.toUtf8())
            return;
        current.close();
        const QString previous = m.settingsFile + QStringLiteral("-prev");
        QFile::remove(previous);
        QFile::copy(m.settingsFile, previous);
    }
    QSaveFile file(m.settingsFile);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(xml.toUtf8());
    file.commit();
}

namespace {

QString leaseFor(DhcpServer &server, const QString &mac)
{
    if (server.leases.contains(mac))
        return server.leases.value(mac);
    const quint32 lower = QHostAddress(server.lowerIp).toIPv4Address();
    const quint32 upper = QHostAddress(server.upperIp).toIPv4Address();
    const QStringList taken = server.leases.values();
    for (quint32 ip = lower; ip <= upper && ip != 0; ++ip) {
        const QString text = QHostAddress(ip).toString();
        if (!taken.contains(text)) {
            server.leases.insert(mac, text);
            return text;
        }
    }
    return QString();
}

} // namespace

void updateGuests(Context &context)
{
    const qint64 now = nowMs();
    for (Machine &m : context.host.machines) {
        if (m.state != QLatin1String("running") || m.addressPublished ||
            now - m.startedAtMs < context.bootMs || m.config.nics.isEmpty())
            continue;
        const NetworkAdapter &nic = m.config.nics.first();
        if (!nic.enabled || nic.attachment != QLatin1String("hostonly") || !nic.cableConnected ||
            !context.host.findHostOnly(nic.hostOnlyInterface))
            continue;
        DhcpServer *server = context.host.findDhcpServer(
            QStringLiteral("HostInterfaceNetworking-") + nic.hostOnlyInterface);
        if (!server || !server->enabled)
            continue;
        const QString address = leaseFor(*server, nic.mac);
        if (address.isEmpty())
            continue;
        const qint64 bootedNs = (m.startedAtMs + context.bootMs) * 1000000;
        m.config.setGuestProperty(QStringLiteral("/VirtualBox/GuestInfo/Net/0/V4/IP"), address,
                                  bootedNs);
        m.config.setGuestProperty(QStringLiteral("tovalyn_ip_management"), address, bootedNs);
        m.addressPublished = true;
        context.changed = true;
    }
}

} // namespace VBoxSim
