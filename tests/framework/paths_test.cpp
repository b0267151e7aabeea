// SPDX-License-Identifier: Apache-2.0
#include "printers.h"
#include "probehost.h"

#include <gtest/gtest.h>

namespace {

QStringList pathLines(const QString &base)
{
    return {"organization " + base + "/.Brellstock",
            "quillomate " + base + "/.Brellstock/Quillomate"};
}

} // namespace

TEST(PathsTest, QmHomeMovesBothFoldersAndTheyAreCreated)
{
    ProbeHost host;
    ASSERT_TRUE(host.isValid());
    const QString root = host.root();
    ASSERT_TRUE(QDir().mkpath(root + "/cwd"));
    // QM_HOME (null: unset) and the folder it gives.
    const QList<QPair<QString, QString>> cases{
        {root + "/data/qm", root + "/data/qm"},
        // A trailing slash, doubled separators and ".." give the clean absolute folder.
        {root + "/other/../clean//", root + "/clean"},
        // A relative QM_HOME is taken against the current folder.
        {"relative/qm", root + "/cwd/relative/qm"},
        // Empty or unset means the home folder.
        {QStringLiteral(""), host.home()},
        {QString(), host.home()},
    };
    for (const auto &[qmHome, base] : cases) {
        SCOPED_TRACE(qmHome.isNull() ? "unset" : qmHome.toStdString());
        if (qmHome.isNull())
            host.unsetEnv("QM_HOME");
        else
            host.setEnv("QM_HOME", qmHome);
        EXPECT_EQ(host.run({"paths"}, root + "/cwd").lines, pathLines(base));
        EXPECT_TRUE(QFileInfo(base + "/.Brellstock/Quillomate").isDir());
    }
}

TEST(PathsTest, UnusableQmHomeEndsTheProcessButTheHomeFolderOnlyLogs)
{
    ProbeHost host;
    ASSERT_TRUE(host.isValid());
    const QString blocker = host.root() + "/blocker";
    ASSERT_TRUE(QFile(blocker).open(QIODevice::WriteOnly)); // a file where a folder would go

    const QString qmHome = blocker + "/qm";
    host.setEnv("QM_HOME", qmHome);
    const ProbeRun fatal = host.run({"paths"});
    EXPECT_TRUE(fatal.crashed || fatal.exitCode != 0);
    EXPECT_EQ(fatal.logLines(), QStringList{"log fatal QM_HOME is set to '" + qmHome +
                                            "', but this directory cannot be created."});
    EXPECT_TRUE(fatal.lines.filter("organization").isEmpty());

    // Under the home folder the same failure is reported and the paths are still given.
    host.unsetEnv("QM_HOME");
    host.setEnv("HOME", blocker);
    const ProbeRun logged = host.run({"paths"});
    EXPECT_FALSE(logged.crashed);
    EXPECT_EQ(logged.exitCode, 0);
    EXPECT_EQ(logged.lines, QStringList{"log critical Failed to create \"" + blocker +
                                        "/.Brellstock/Quillomate\" things may go wrong"} +
                                pathLines(blocker));
}
