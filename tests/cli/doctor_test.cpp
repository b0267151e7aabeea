// SPDX-License-Identifier: Apache-2.0
// vmtools doctor against the simulated VirtualBox 7.2 and a host root of the test's own:
// one fault per check, and what doctor must say about it.
#include "vmtoolshost.h"

#include "doctor.h"
#include "hostfiles.h"
#include "simhost.h"

#include <QJsonArray>

namespace {

// The host files of a row of tests/data/cli/doctor.txt: a path and its text, null for none.
QMap<QString, QString> hostFiles(const QString &column)
{
    QMap<QString, QString> files;
    for (const QString &file : column.split(';', Qt::SkipEmptyParts)) {
        if (file.startsWith('!'))
            files.insert(file.mid(1), QString());
        else
            files.insert(file.section('=', 0, 0), QString("%1").arg(file.section('=', 1)));
    }
    return files;
}

const QMap<QString, QString> GoodHost{{"dev/vboxdrv", ""},
                                      {"proc/cpuinfo", "processor\t: 0\nflags\t\t: fpu vmx sse2\n"},
                                      {"proc/sys/kernel/osrelease", "6.12.9-amd64\n"}};

void makeRoot(const QString &root, QMap<QString, QString> files)
{
    QDir(root).removeRecursively();
    for (auto it = GoodHost.cbegin(); it != GoodHost.cend(); ++it)
        files.insert(it.key(), files.value(it.key(), it.value()));
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = root + '/' + it.key();
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!it.value().isNull() && !path.endsWith('/') && file.open(QIODevice::WriteOnly))
            file.write(it.value().toUtf8());
    }
}

QJsonObject check(const VmtoolsResult &result, const QString &id)
{
    for (const QJsonValue &value : result.json().value("checks").toArray()) {
        if (value.toObject().value("id") == id)
            return value.toObject();
    }
    return {};
}

// The check's status, what its detail and remedy hold, and doctor's exit status.
void expectCheck(const VmtoolsHost &host, const QStringList &expected)
{
    const VmtoolsResult result = host.run({"doctor", "--json"});
    EXPECT_EQ(result.exitCode, expected.value(4, "1").toInt()) << result.err.toStdString();
    const QJsonObject found = check(result, expected[0]);
    EXPECT_EQ(found.value("status").toString(), expected[1]) << result.out.toStdString();
    EXPECT_TRUE(found.value("detail").toString().contains(expected[2])) << result.out.toStdString();
    EXPECT_TRUE(found.value("remedy").toString().contains(expected.value(3)))
        << result.out.toStdString();
}

} // namespace

TEST(CliDoctorTest, EachCheckNamesItsFaultAndOnlyProblemsFail)
{
    SimHost sim("7.2");
    VmtoolsHost host;
    host.setBaseEnvironment(sim.environment());
    ASSERT_EQ(host.run({"repair-network"}).exitCode, 0);
    const QString root = host.scratch("root");
    const QString bin = host.scratch("bin");
    ASSERT_TRUE(QDir().mkpath(bin));
    host.setVariable("VMTOOLS_HOST_ROOT", root);
    for (const QStringList &row : dataRows("doctor.txt")) {
        SCOPED_TRACE(row.mid(3).join(' ').toStdString());
        makeRoot(root, hostFiles(row[0]));
        sim.setFaults(row[1].isEmpty() ? QString() : row[1] + '\n');
        QFile script(bin + "/VBoxManage");
        ASSERT_TRUE(script.open(QIODevice::WriteOnly | QIODevice::Truncate));
        script.write(("#!/bin/sh\ncase \"$*\" in\n" + row[2] + "\nesac\nexec '" +
                      SimHost::program("VBoxManage") + "' \"$@\"\n")
                         .toUtf8());
        script.setPermissions(script.permissions() | QFile::ExeOwner);
        script.close();
        host.setVariable("PATH", row[2] == "none" ? QString("/usr/bin:/bin")
                                                  : bin + ':' + sim.environment().value("PATH"));
        expectCheck(host, row.mid(3));
    }
    makeRoot(root, {});
    sim.setFaults("");
    host.setVariable("PATH", sim.environment().value("PATH"));
    const VmtoolsResult good = host.run({"doctor", "--json"});
    EXPECT_EQ(good.exitCode, 0) << good.out.toStdString();
    for (const QJsonValue &value : good.json().value("checks").toArray()) {
        const QString status = value.toObject().value("status").toString();
        EXPECT_TRUE(status == "ok" ||
                    (value.toObject().value("id") == "free-space" && status == "warning"))
            << good.out.toStdString();
    }
    EXPECT_EQ(good.json().value("checks").toArray().size(), 12);

    // A folder left switched stays so while doctor looks; 'vmtools info' puts it back.
    const QString userFolder = sim.vbox({"list", "systemproperties"})
                                   .out.section("Default machine folder:", 1)
                                   .section('\n', 0, 0)
                                   .trimmed();
    const QString qm = QDir::cleanPath(host.scratch() + "/../home/qm/.Brellstock/Quillomate");
    ASSERT_TRUE(QDir().mkpath(qm + "/locks"));
    QFile note(qm + "/locks/machine-folder.user");
    ASSERT_TRUE(note.open(QIODevice::WriteOnly) && note.write(userFolder.toUtf8()) > 0);
    note.close();
    sim.vbox({"setproperty", "machinefolder", qm + "/deployed"});
    for (int run = 0; run < 2; ++run)
        expectCheck(host, {"machine-folder", "problem",
                           "interrupted run left VirtualBox's default machine folder at " + qm +
                               "/deployed; yours is " + userFolder,
                           "vmtools info (it puts " + userFolder + " back)"});
    ASSERT_EQ(host.run({"info"}).exitCode, 0);
    expectCheck(host, {"machine-folder", "ok", userFolder, "", "0"});
    note.remove();
    sim.vbox({"setproperty", "machinefolder", qm + "/deployed/"});
    expectCheck(host, {"machine-folder", "problem", "is the deploy folder",
                       "VBoxManage setproperty machinefolder default"});
    sim.vbox({"setproperty", "machinefolder", userFolder});

    // A deploy folder that cannot be made, then settings that cannot be read.
    const QString settings =
        QDir::cleanPath(host.scratch() + "/../home/.config/Brellstock/Quillomate.conf");
    QFile file(settings);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("vms.path=" + host.scratchFile("file", "").toUtf8() + "/deployed\n");
    file.close();
    expectCheck(host,
                {"free-space", "problem", "cannot be made or written", "vmtools deploy-dir DIR"});
    ASSERT_TRUE(file.remove() && QDir().mkpath(settings));
    expectCheck(host, {"settings", "problem", settings + " is not a readable file", "chmod u+rw"});
}

TEST(CliDoctorTest, FreeSpaceAndAddressRulesAtTheirEdges)
{
    constexpr qint64 GB = 1024LL * 1024 * 1024;
    EXPECT_EQ(Doctor::freeSpace("/d", 2 * GB - 1).status, Doctor::Status::Problem);
    EXPECT_EQ(Doctor::freeSpace("/d", 2 * GB).status, Doctor::Status::Warning);
    EXPECT_EQ(Doctor::freeSpace("/d", 8 * GB).status, Doctor::Status::Ok);
    EXPECT_EQ(Doctor::freeSpace("/d", 8 * GB).detail, "8.0 GB free for devices in /d");
    using Networks = QList<HostFiles::Network>;
    const auto net = [](const char *text) {
        return QHostAddress::parseSubnet(text);
    };
    EXPECT_EQ(HostFiles::allowedNetworks(QString()), Networks{net("192.168.56.0/21")});
    EXPECT_EQ(HostFiles::allowedNetworks(""), Networks{}); // a file that lists nothing
    EXPECT_EQ(HostFiles::allowedNetworks("#* 10.0.0.0/8\n *1.0.0.0/8\n*\t172.16.0.0/12 ::/0"),
              Networks{net("172.16.0.0/12")});
}
