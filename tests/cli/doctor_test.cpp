// SPDX-License-Identifier: Apache-2.0
// vmtools doctor against the simulated VirtualBox 7.2 and a host root of the test's own:
// one fault per check, and what doctor must say about it.
#include "vmtoolshost.h"

#include "doctor.h"
#include "hostfiles.h"
#include "simhost.h"

#include <QJsonArray>

namespace {

// A fault of the host's files (a path ending in '/' is a folder; a null text removes the
// file), of the stand-in, or of VBoxManage itself (branches of a shell "case" on "$*" ahead
// of the stand-in; "none" takes VBoxManage off PATH).
struct Row
{
    QMap<QString, QString> files;
    QString faults;
    QString vboxManage;
    const char *check;
    const char *status;
    QString detail;
    QString remedy = QString();
    int exitCode = 1;
};

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

void expectCheck(const VmtoolsHost &host, const Row &row)
{
    const VmtoolsResult result = host.run({"doctor", "--json"});
    EXPECT_EQ(result.exitCode, row.exitCode) << result.err.toStdString();
    const QJsonObject found = check(result, row.check);
    EXPECT_EQ(found.value("status").toString(), row.status) << result.out.toStdString();
    EXPECT_TRUE(found.value("detail").toString().contains(row.detail)) << result.out.toStdString();
    EXPECT_TRUE(found.value("remedy").toString().contains(row.remedy)) << result.out.toStdString();
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
    const QString uuid = "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7";
    const QString nil = "00000000-0000-0000-0000-000000000000";
    // clang-format off
    const Row rows[] = {
        {{}, "", "", "kvm", "ok", "not loaded", "", 0},
        {{}, "", "none", "vboxmanage", "problem", "VBoxManage is not on PATH", "install"},
        {{}, "--version garbage\n", "", "vboxmanage", "problem", "named no version"},
        {{}, "* noservice\n", "", "vboxmanage", "problem",
         "service does not answer: Failed to create the VirtualBox object!", "VBoxSVC"},
        {{}, "", "--version) echo 7.3.0r171000; exit 0 ;;", "version", "warning",
         "7.3.0r171000 is newer than 7.2", "none needed", 0},
        {{}, "", "--version) echo 5.1.38r122592; exit 0 ;;", "version", "problem",
         "5.1.38r122592 is older than 5.2", "install VirtualBox 7.2"},
        {{}, "* nodriver\n", "", "kernel-driver", "problem",
         "The vboxdrv kernel module is not loaded",
         "sudo apt-get install virtualbox-dkms linux-headers-6.12.9-amd64"},
        {{{"dev/vboxdrv", QString()}, {"sbin/vboxconfig", ""}}, "", "", "kernel-driver", "problem",
         "/dev/vboxdrv does not exist", "sudo /sbin/vboxconfig"},
        {{{"sys/module/kvm_amd/", ""}, {"sys/module/kvm/parameters/enable_virt_at_load", "Y\n"}},
         "", "", "kvm", "problem", "kvm_amd took AMD-V", "sudo modprobe -r kvm_amd"},
        {{{"sys/module/kvm_intel/", ""}, {"sys/module/kvm/parameters/enable_virt_at_load", "Y"}},
         "", "", "kvm", "problem", "(VERR_VMX_IN_VMX_ROOT_MODE)", "kvm.enable_virt_at_load=0"},
        {{{"sys/module/kvm_intel/", ""}, {"sys/module/kvm/parameters/enable_virt_at_load", "Y"},
          {"proc/sys/kernel/osrelease", "6.16.3"}}, "", "", "kvm", "ok", "VirtualBox 7.2 shares",
         "", 0},
        {{{"sys/module/kvm_intel/", ""}}, "", "", "kvm", "ok", "only while a KVM guest runs", "",
         0},
        {{{"proc/cpuinfo", "flags\t\t: fpu sse2\n"}}, "", "", "hardware-virtualization",
         "problem", "no VT-x or AMD-V", "firmware"},
        {{}, "ip/addr down\n", "", "host-only-network", "problem", "vboxnet0 is missing, down",
         "vmtools repair-network"},
        {{{"etc/vbox/networks.conf", "# mine\n* 10.0.0.0/8 fe80::/10\n"}}, "", "",
         "address-plan", "problem",
         "192.168.56.1 (vboxnet0) lies outside what /etc/vbox/networks.conf allows (10.0.0.0/8)",
         "'* 192.168.56.0/24' in /etc/vbox/networks.conf"},
        {{{"etc/vbox/networks.conf", "* 192.168.0.0/16\n"}}, "", "", "address-plan", "ok",
         "lies in 192.168.0.0/16", "", 0},
        {{}, "", "'showvminfo " + nil + "') printf '%s\\n' "
         "'VBoxManage: error: Не удалось найти машину' 'VBoxManage: error: Details: code "
         "VBOX_E_OBJECT_NOT_FOUND (0x80bb0001)' >&2; exit 1 ;;",
         "service-language", "warning", "not English: \"Не удалось найти машину\"",
         "VBoxManage setproperty language C", 0},
        {{}, "", "'list vms') echo '\"<inaccessible>\" {" + uuid + "}'; exit 0 ;;",
         "inaccessible-machines", "warning", "1 machine(s) inaccessible",
         "VBoxManage unregistervm {" + uuid + "}", 0},
    };
    // clang-format on
    for (const Row &row : rows) {
        SCOPED_TRACE((row.check + (' ' + row.detail)).toStdString());
        makeRoot(root, row.files);
        sim.setFaults(row.faults);
        QFile script(bin + "/VBoxManage");
        ASSERT_TRUE(script.open(QIODevice::WriteOnly | QIODevice::Truncate));
        script.write(("#!/bin/sh\ncase \"$*\" in\n" + row.vboxManage + "\nesac\nexec '" +
                      SimHost::program("VBoxManage") + "' \"$@\"\n")
                         .toUtf8());
        script.setPermissions(script.permissions() | QFile::ExeOwner);
        script.close();
        host.setVariable("PATH", row.vboxManage == "none"
                                     ? QString("/usr/bin:/bin")
                                     : bin + ':' + sim.environment().value("PATH"));
        expectCheck(host, row);
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
        expectCheck(host, {{},
                           "",
                           "",
                           "machine-folder",
                           "problem",
                           "interrupted run left VirtualBox's default machine folder at " + qm +
                               "/deployed; yours is " + userFolder,
                           "vmtools info (it puts " + userFolder + " back)"});
    ASSERT_EQ(host.run({"info"}).exitCode, 0);
    expectCheck(host, {{}, "", "", "machine-folder", "ok", userFolder, "", 0});
    note.remove();
    sim.vbox({"setproperty", "machinefolder", qm + "/deployed/"});
    expectCheck(host, {{},
                       "",
                       "",
                       "machine-folder",
                       "problem",
                       "is the deploy folder",
                       "VBoxManage setproperty machinefolder default"});
    sim.vbox({"setproperty", "machinefolder", userFolder});

    // A deploy folder that cannot be made, then settings that cannot be read.
    const QString settings =
        QDir::cleanPath(host.scratch() + "/../home/.config/Brellstock/Quillomate.conf");
    QFile file(settings);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("vms.path=" + host.scratchFile("file", "").toUtf8() + "/deployed\n");
    file.close();
    expectCheck(host, {{},
                       "",
                       "",
                       "free-space",
                       "problem",
                       "cannot be made or written",
                       "vmtools deploy-dir DIR"});
    ASSERT_TRUE(file.remove() && QDir().mkpath(settings));
    expectCheck(
        host,
        {{}, "", "", "settings", "problem", settings + " is not a readable file", "chmod u+rw"});
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
