// SPDX-License-Identifier: Apache-2.0
#include <vmtools/cpuinfo.h>

#include "logcapture.h"
#include "printers.h"
#include "probehost.h"

#include <gtest/gtest.h>

#ifndef FAKE_ENGINE_PLUGIN
#error "FAKE_ENGINE_PLUGIN must name the fake engine plug-in"
#endif
#ifndef NO_SYMBOL_PLUGIN
#error "NO_SYMBOL_PLUGIN must name the plug-in without a factory"
#endif

namespace {

const QString LoadingLine = QStringLiteral("log debug [VBox] Loading \"vboxmanage\" plugin");
const QString LoadedLine = QStringLiteral("log debug [VBox] Plugin \"vboxmanage\" loaded");
const QString Deleted = QStringLiteral("fake engine deleted");

class LoaderTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_host.isValid()); }

    void installPlugin(const QString &library)
    {
        ASSERT_TRUE(QDir().mkpath(m_host.appDir() + "/plugins"));
        ASSERT_TRUE(QFile::copy(library, m_host.appDir() + "/plugins/libvboxmanage.so"));
    }

    QString failLine() const
    {
        return QStringLiteral(
                   "log critical [VBox] \"Fail to load vboxmanage plugin from %1/plugins/\"")
            .arg(m_host.appDir());
    }

    // What the engine's constructor finds on this host: the lines it logs (its vendor and
    // the check's register) and the answer the probe prints after the engine's version.
    struct HostProcessor
    {
        QStringList constructorLines;
        QString virtualizationLine;
    };

    static HostProcessor hostProcessor()
    {
        const QString vendor = CpuInfo::vendorString(CpuInfo::hostCpuid);
        LogCapture log;
        const bool available = CpuInfo::hasVirtualizationExtensions(vendor, CpuInfo::hostCpuid);
        HostProcessor host;
        host.constructorLines.append(
            QStringLiteral("log debug [VBox] Chipset: \"%1\"").arg(vendor));
        for (const QString &text : log.texts())
            host.constructorLines.append("log debug " + text);
        host.virtualizationLine = available ? "virtualization yes" : "virtualization no";
        return host;
    }

    ProbeHost m_host;
};

} // namespace

TEST_F(LoaderTest, MissingLibraryFactoryOrEngineFailsAndLeavesTheRecordUntouched)
{
    const QStringList untouched = {failLine(), "engine no", "state -7", "message untouched"};
    EXPECT_EQ(m_host.run({"load"}).lines, QStringList{LoadingLine} + untouched);

    installPlugin(NO_SYMBOL_PLUGIN);
    EXPECT_EQ(m_host.run({"load"}).lines, QStringList{LoadingLine} + untouched);

    ASSERT_TRUE(QFile::remove(m_host.appDir() + "/plugins/libvboxmanage.so"));
    installPlugin(FAKE_ENGINE_PLUGIN);
    m_host.setEnv("FAKE_ENGINE_NULL", "1");
    EXPECT_EQ(m_host.run({"load"}).lines,
              QStringList({LoadingLine, LoadedLine,
                           "log critical [VBox] Unable to execute getVMToolsEngine from "
                           "\"vboxmanage\""}) +
                  untouched);
}

// State 3 (the old interface could not be removed) keeps the engine as state 0 does; for any
// other state the loader itself deletes the engine before it reports the failure.
TEST_F(LoaderTest, InitializationStateDecidesWhetherTheEngineIsKept)
{
    installPlugin(FAKE_ENGINE_PLUGIN);
    const HostProcessor host = hostProcessor();
    const QStringList loading = QStringList{LoadingLine, LoadedLine} + host.constructorLines;

    for (const QString state : {"0", "3", "1", "2", "4", "-1"}) {
        SCOPED_TRACE(state.toStdString());
        const QString message = state == "0" ? "" : "message of state " + state;
        m_host.setEnv("FAKE_ENGINE_STATE", state);
        m_host.setEnv("FAKE_ENGINE_MESSAGE", message);
        const QStringList record = {"state " + state, "message " + message};
        const QStringList outcome =
            state == "0" || state == "3"
                ? QStringList{"log debug [VBox] VM engine version: \"1.2.3-fake\"", "engine yes"} +
                      record + QStringList{"version 1.2.3-fake", host.virtualizationLine, Deleted}
                : QStringList{Deleted, failLine(), "engine no"} + record;
        EXPECT_EQ(m_host.run({"load"}).lines, loading + outcome);
    }
}
