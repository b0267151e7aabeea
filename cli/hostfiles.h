// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHostAddress>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// The host's own files that tell what VirtualBox needs of it (/dev, /proc, /sys,
// /etc/vbox), read below a root folder: "/" normally, another folder to look at a host
// from outside it (and for tests), as VMTOOLS_HOST_ROOT says.
class HostFiles final
{
public:
    using Network = QPair<QHostAddress, int>;

    explicit HostFiles(const QString &root = QString());
    static HostFiles fromEnvironment();

    QString path(const QString &absolute) const { return m_root + absolute; }
    bool exists(const QString &absolute) const;
    // The file's text; null when it cannot be read.
    QString read(const QString &absolute) const;

    QString kernelRelease() const;
    // The flags of the first processor in /proc/cpuinfo.
    QStringList cpuFlags() const;
    // "kvm_intel" or "kvm_amd" when loaded (or built in); empty when neither is.
    QString kvmModule() const;
    // KVM's enable_virt_at_load parameter ("Y" or "N"); null before kernel 6.12, which
    // took VT-x/AMD-V only while a KVM guest ran.
    QString kvmVirtAtLoad() const;

    // What /etc/vbox/networks.conf lets host-only interfaces use (IPv4 only): without the
    // file 192.168.56.0/21; with it, the networks on its lines that begin with '*'.
    static QList<Network> allowedNetworks(const QString &networksConf);

private:
    QString m_root;
};
