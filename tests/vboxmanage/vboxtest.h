// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "logcapture.h"
#include "printers.h"
#include "standin.h"
#include "vboxmanagecore.h"
#include "vboxmanagemachine.h"

#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

const QString PhoneUuid = QStringLiteral("0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11");
const QString HostOnlyKey = QStringLiteral("host.only.interface");

// A VBoxManage output of VirtualBox `version`: recorded from 5.2, and for later versions the
// same device written out in the layout that version prints.
inline QString recorded(const QString &file, const QString &version = QStringLiteral("5.2"))
{
    QFile data(QStringLiteral(TEST_DATA_DIR "/%1/%2").arg(version, file));
    EXPECT_TRUE(data.open(QIODevice::ReadOnly)) << (version + '/' + file).toStdString();
    return QString::fromUtf8(data.readAll());
}

// An argument list written as one line: the arguments separated by single spaces.
inline QStringList cmd(const QString &line)
{
    return line.split(QLatin1Char(' '));
}

const QStringList ShowVmInfo = cmd(QStringLiteral("showvminfo phone"));

// VirtualBox's answer to a look-up of a machine that it does not know.
inline Answer notFound(const QString &name)
{
    return Answer::fail(1, QStringLiteral("VBoxManage: error: Could not find a registered machine "
                                          "named '%1'\nVBoxManage: error: Details: code "
                                          "VBOX_E_OBJECT_NOT_FOUND (0x80bb0001), component "
                                          "VirtualBoxWrap, interface IVirtualBox, callee "
                                          "nsISupports\n")
                               .arg(name));
}

// Argument lists written as lines.
inline QList<QStringList> cmds(std::initializer_list<const char *> lines)
{
    QList<QStringList> result;
    for (const char *line : lines)
        result.append(cmd(QString::fromUtf8(line)));
    return result;
}

// One line of "guestproperty enumerate".
inline QString guestProperty(const QString &key, const QString &value)
{
    return QStringLiteral("Name: %1, value: %2, timestamp: 1717406031000000000, flags: \n")
        .arg(key, value);
}

// A "showvminfo" description of a machine in the folder /vms/<name>; `more` ends it.
inline QString description(const QString &name, const QString &state = "powered off",
                           const QString &more = QString())
{
    return QStringLiteral("Name:            %1\nUUID:            %2\n"
                          "Config file:     /vms/%1/%1.vbox\nMemory size:     2048MB\n"
                          "Number of CPUs:  2\n"
                          "State:           %3 (since 2024-06-03T09:14:07.512000000)\n")
               .arg(name, PhoneUuid, state) +
           more;
}

const QString LinkUp = QStringLiteral("5: vboxnet0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 "
                                      "qdisc fq_codel state UP group default qlen 1000\n");
const QString Routed =
    QStringLiteral("default via 10.0.0.1 dev eth0 proto dhcp metric 100 \n"
                   "192.168.56.0/24 dev vboxnet0 proto kernel scope link src 192.168.56.1 \n");

// A host where VirtualBox has vboxnet0 and vboxnet1 and a fitting DHCP server for vboxnet0,
// and `ip` shows vboxnet0 with `link` and `routes`. Rules added before these answer first.
inline void scriptHost(StandIn &standIn, const QString &link = LinkUp,
                       const QString &routes = Routed)
{
    standIn.onExact({"list", "hostinfo"}, {Answer::ok(recorded("core-hostinfo.txt"))});
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    standIn.onExact({"list", "hostonlyifs"}, {Answer::ok(recorded("core-hostonlyifs.txt"))});
    standIn.onExact({"list", "dhcpservers"}, {Answer::ok(recorded("core-dhcpservers.txt"))});
    standIn.onExact({"addr", "show", "dev", "vboxnet0"}, {Answer::ok(link)}, "ip");
    standIn.onExact({"route"}, {Answer::ok(routes)}, "ip");
}

// The calls that bind adapter 1 of "phone" to vboxnet0 before it starts or once it is made.
inline QList<QStringList> bindCalls()
{
    return cmds({"modifyvm phone --nic1 hostonly", "modifyvm phone --hostonlyadapter1 vboxnet0",
                 "modifyvm phone --nictype1 virtio", "modifyvm phone --cableconnected1 on",
                 "guestproperty set phone quillomate_player_version 1"});
}

// A machine "phone" built against the stand-in from the given guest properties and
// description. The rules, calls and log lines of building it are forgotten.
class MachineTest : public ::testing::Test
{
protected:
    void build(const QString &properties = QString(),
               const QString &shown = recorded("machine-showvminfo.txt"))
    {
        m_standIn.clearRules();
        m_standIn.onExact(cmd("guestproperty enumerate phone"), {Answer::ok(properties)});
        m_standIn.onExact(cmd("showvminfo phone"), {Answer::ok(shown)});
        m_machine.reset(new VBoxManageMachine("u", "phone", "VBoxManage"));
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_log.clear();
    }

    StandIn m_standIn;
    LogCapture m_log;
    std::unique_ptr<VBoxManageMachine> m_machine;
};

// The engine against the stand-in. The line the engine's constructor logs is not captured.
class CoreTest : public ::testing::Test
{
protected:
    StandIn m_standIn;
    VBoxManageCore m_core;
    LogCapture m_log;
};
