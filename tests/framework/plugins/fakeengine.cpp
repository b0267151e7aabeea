// SPDX-License-Identifier: Apache-2.0
// An engine plug-in whose behaviour the test picks through the environment:
//   FAKE_ENGINE_NULL=1        the factory returns null
//   FAKE_ENGINE_STATE=n       initialize returns state n (default 0)
//   FAKE_ENGINE_MESSAGE=text  and that message
// It reports its destruction on standard error as "fake engine deleted".
#include <vmtools/vmtoolsengine.h>

#include <QFile>

#include <cstdio>

namespace {

class FakeEngine final : public VMToolsEngine
{
public:
    ~FakeEngine() override { std::fputs("fake engine deleted\n", stderr); }

    LoadStateInfo initialize() override
    {
        return {qEnvironmentVariableIntValue("FAKE_ENGINE_STATE"),
                qEnvironmentVariable("FAKE_ENGINE_MESSAGE")};
    }
    bool shutdown() override { return true; }
    void dumpInfos(QFile *) override {}
    QString version() override { return QStringLiteral("1.2.3-fake"); }
    bool isSystemReady() const override { return true; }
    QList<VMToolsMachine *> getMachines() override { return {}; }
    VMToolsMachine *getMachine(const QString &) override { return nullptr; }
    bool doesMachineExist(const QString &) const override { return false; }
    QString getAdapterName() const override { return {}; }
    unsigned int createMachine(const QString &, const QString &, unsigned int, unsigned int,
                               unsigned int) override
    {
        return 1;
    }
    bool startMachine(VMToolsMachine *, VMToolsMachine::LaunchType) override { return false; }
    bool stopMachine(VMToolsMachine *) override { return false; }
    bool startStopDevice(VMToolsMachine *) override { return false; }
    bool deleteMachine(VMToolsMachine *) override { return false; }
    bool renameMachine(VMToolsMachine *, const QString &) override { return false; }
    unsigned int cloneMachine(VMToolsMachine *, const QString &, bool) override { return 2; }
    bool exportMachine(VMToolsMachine *, const QString &, VMToolsObserver *) override
    {
        return false;
    }
    unsigned int getMaxCpuCount() override { return 8; }
    unsigned int getMaxMemory() override { return 4096; }
    unsigned int copyDisk(const QString &, const QString &) const override { return 9; }
    unsigned int deleteDisk(const QString &) const override { return 10; }
    void checkAndCreateVboxInterface() override {}
    QString getDataDiskName() const override { return {}; }
    QString getSDCardDiskName() const override { return {}; }
};

} // namespace

extern "C" __attribute__((visibility("default"))) VMToolsEngine *getVMToolsEngine()
{
    if (qEnvironmentVariableIntValue("FAKE_ENGINE_NULL"))
        return nullptr;
    return new FakeEngine;
}
