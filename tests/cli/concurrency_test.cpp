// Two vmtools at once against one simulated VirtualBox, as the desktop application and
// vmtools (or two vmtools) may run: they share VirtualBox's default machine folder and
// its host-only interface.
#include "vmtoolshost.h"

#include "simhost.h"

#include <QDir>

#include <csignal>

namespace {

QString machineFolder(const SimHost &sim)
{
    const QString properties = sim.vbox({"list", "systemproperties"}).out;
    const QRegularExpression folder("^Default machine folder: +(.*)$",
                                    QRegularExpression::MultilineOption);
    return folder.match(properties).captured(1);
}

// The exit codes of two runs started at the same moment, in order.
QList<int> together(const VmtoolsHost &host, const QStringList &first, const QStringList &second)
{
    const auto one = host.start(first);
    const auto two = host.start(second);
    QList<int> codes;
    for (QProcess *process : {one.get(), two.get()}) {
        process->waitForFinished(120000);
        codes.append(process->exitCode());
    }
    return codes;
}

} // namespace

TEST(CliConcurrencyTest, TwoProcessesShareTheMachineFolderAndTheHostOnlyInterface)
{
    SimHost sim; // a fresh host: no host-only interface yet
    VmtoolsHost host;
    QProcessEnvironment environment = sim.environment();
    environment.insert("PATH", QStringLiteral(VBOXSIM_BIN_DIR) + ':' + environment.value("PATH"));
    host.setBaseEnvironment(environment);
    const QString userFolder = machineFolder(sim);
    ASSERT_FALSE(userFolder.isEmpty());
    const QString ova = QStringLiteral(VBOXSIM_SAMPLE_OVA);
    const QString deploy = host.scratch() + "/../home/qm/.Brellstock/Quillomate/deployed";
    const auto devices = [&sim] {
        return sim.vbox({"list", "vms"}).out.count(" {");
    };

    // Two start-ups that may repair the network make one interface between them.
    EXPECT_EQ(together(host, {"repair-network"}, {"repair-network"}), (QList<int>{0, 0}));
    EXPECT_EQ(sim.vbox({"list", "hostonlyifs"})
                  .out.count(QRegularExpression("^Name:", QRegularExpression::MultilineOption)),
              1);

    // Different names: both devices, and the user's folder back. The same name: one
    // device, one clean failure, and the made device's folder intact.
    EXPECT_EQ(together(host, {"create", "a", ova}, {"create", "b", ova}), (QList<int>{0, 0}));
    EXPECT_EQ(machineFolder(sim), userFolder);
    QList<int> codes = together(host, {"create", "c", ova}, {"create", "c", ova});
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (QList<int>{0, 1}));
    EXPECT_EQ(devices(), 3);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/c/android_system_disk.vmdk"));
    codes = together(host, {"clone", "a", "d"}, {"clone", "b", "d"});
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (QList<int>{0, 1}));
    EXPECT_EQ(devices(), 4);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/d/d.vbox"));
    EXPECT_EQ(machineFolder(sim), userFolder);

    // Killed while the folder is switched: the next start-up, even a read-only one, puts it
    // back.
    sim.setFaults("import slow ms=3000\n");
    const auto killed = host.start({"create", "e", ova});
    for (int i = 0; i < 200 && machineFolder(sim) == userFolder; ++i)
        QThread::msleep(50);
    ASSERT_NE(machineFolder(sim), userFolder);
    ::kill(static_cast<pid_t>(killed->processId()), SIGKILL);
    killed->waitForFinished();
    EXPECT_EQ(host.run({"info"}).exitCode, 0);
    EXPECT_EQ(machineFolder(sim), userFolder);
}
