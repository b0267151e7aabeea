// SPDX-License-Identifier: Apache-2.0
#include "hostfiles.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

HostFiles::HostFiles(const QString &root)
    : m_root(root.endsWith(QLatin1Char('/')) ? root.chopped(1) : root)
{}

HostFiles HostFiles::fromEnvironment()
{
    return HostFiles(QFile::decodeName(qgetenv("VMTOOLS_HOST_ROOT")));
}

bool HostFiles::exists(const QString &absolute) const
{
    return QFileInfo::exists(path(absolute));
}

QString HostFiles::read(const QString &absolute) const
{
    QFile file(path(absolute));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

QString HostFiles::kernelRelease() const
{
    return read(QStringLiteral("/proc/sys/kernel/osrelease")).trimmed();
}

QStringList HostFiles::cpuFlags() const
{
    static const QRegularExpression flags(QStringLiteral("^flags\\s*:(.*)$"),
                                          QRegularExpression::MultilineOption);
    const QString line = flags.match(read(QStringLiteral("/proc/cpuinfo"))).captured(1);
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString HostFiles::kvmModule() const
{
    for (const QString &module : {QStringLiteral("kvm_intel"), QStringLiteral("kvm_amd")}) {
        if (exists(QStringLiteral("/sys/module/") + module))
            return module;
    }
    return QString();
}

QString HostFiles::kvmVirtAtLoad() const
{
    const QString value = read(QStringLiteral("/sys/module/kvm/parameters/enable_virt_at_load"));
    return value.isNull() ? value : value.trimmed();
}

QList<HostFiles::Network> HostFiles::allowedNetworks(const QString &networksConf)
{
    if (networksConf.isNull())
        return {QHostAddress::parseSubnet(QStringLiteral("192.168.56.0/21"))};
    QList<Network> networks;
    for (const QString &line : networksConf.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1Char('*')))
            continue;
        for (const QString &word :
             line.mid(1).split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts)) {
            const Network network = QHostAddress::parseSubnet(word);
            if (network.first.protocol() == QAbstractSocket::IPv4Protocol)
                networks.append(network);
        }
    }
    return networks;
}
