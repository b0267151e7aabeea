// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/vmtoolsobserver.h>

#include <QThread>

#include <thread>

class ExportTest : public DevicesTest
{
protected:
    void SetUp() override
    {
        DevicesTest::SetUp();
        QDir().mkpath(m_root.path() + "/out");
        m_target = m_root.path() + "/out/phone.ova";
        // Export needs nothing but the name; what the machine asks about itself is unscripted.
        m_phone.reset(new VBoxManageMachine("u", "phone", "VBoxManage"));
        m_standIn.clearCalls();
        m_log.clear();
    }

    QStringList outFolder() const
    {
        return QDir(m_root.path() + "/out").entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    // Only the exact export call is answered: its output lies in a new folder beside the target.
    void onExport(const Answer &answer)
    {
        m_standIn.onPattern("export phone --output " + QRegularExpression::escape(m_target) +
                                "-[^/]{6}/export\\.ova",
                            {answer});
    }

    QString m_target;
    std::unique_ptr<VBoxManageMachine> m_phone;
};

TEST_F(ExportTest, ApplianceIsWrittenBesideTheTargetAndMovedIntoPlace)
{
    // A VBoxManage that writes the appliance it is asked for, then answers as the stand-in.
    const QString wrapper = m_root.path() + "/wrapper";
    QDir().mkpath(wrapper);
    QFile script(wrapper + "/VBoxManage");
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\n[ \"$1\" = export ] && printf appliance > \"$4\"\nexec \"" +
                 m_standIn.binDir().toUtf8() + "/VBoxManage\" \"$@\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(wrapper) + ':' + path);
    onExport(Answer::ok("Successfully exported 1 machine(s).\n"));

    const bool exported = m_core.exportMachine(m_phone.get(), m_target, nullptr);
    // The target exists now: a second export must not overwrite it.
    const bool overwritten = m_core.exportMachine(m_phone.get(), m_target, nullptr);
    qputenv("PATH", path);

    EXPECT_TRUE(exported);
    EXPECT_FALSE(overwritten);
    EXPECT_EQ(outFolder(), QStringList{"phone.ova"});
    QFile result(m_target);
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_EQ(result.readAll(), "appliance");
    EXPECT_EQ(m_log.texts().filter("[export]"),
              (QStringList{"[VBox] [export] created ova for: \"phone\" in \"" + m_target + "\"",
                           "[VBox] [export] failed to create ova for: \"phone\" in \"" + m_target +
                               "\" : copy from temporary file failed"}));
}

TEST_F(ExportTest, FailedExportLeavesNothingBehind)
{
    onExport(Answer::fail(1, "VBoxManage: error: Appliance write failed\n"));
    EXPECT_FALSE(m_core.exportMachine(m_phone.get(), m_target, nullptr));
    EXPECT_TRUE(outFolder().isEmpty());
    EXPECT_TRUE(m_log.contains(
        QtWarningMsg, "[VBox] [export] failed to create ova for: \"phone\" in \"" + m_target +
                          "\" : \"VBoxManage: error: Appliance write failed\\n\""));

    // A target folder that does not exist: no temporary folder, no command.
    m_standIn.clearCalls();
    const QString nowhere = m_root.path() + "/missing/phone.ova";
    EXPECT_FALSE(m_core.exportMachine(m_phone.get(), nowhere, nullptr));
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_TRUE(
        m_log.contains(QtWarningMsg, "[VBox] [export] failed to create ova for: \"phone\" in \"" +
                                         nowhere + "\" : no temporary folder beside the target"));
}

TEST_F(ExportTest, CancelFromAnotherThreadInterruptsTheExport)
{
    // Far longer than the test may take; only the interrupt ends it early.
    onExport(Answer::ok().withDelay(10000).exitingOnSigint());
    VMToolsObserver observer;
    bool signalled = false;
    std::thread canceller([&] {
        while (m_standIn.calls().isEmpty())
            QThread::msleep(10);
        signalled = observer.cancel();
    });

    const bool exported = m_core.exportMachine(m_phone.get(), m_target, &observer);
    canceller.join();

    EXPECT_FALSE(exported);
    EXPECT_TRUE(signalled);
    EXPECT_TRUE(observer.isCanceled());
    EXPECT_TRUE(outFolder().isEmpty());
    EXPECT_TRUE(
        m_log.contains(QtWarningMsg, "[VBox] [export] failed to create ova for: \"phone\" in \"" +
                                         m_target + "\" : \"canceled\""));
}
