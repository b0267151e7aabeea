#include "printers.h"
#include "probehost.h"

#include <gtest/gtest.h>

namespace {

QStringList pathLines(const QString &base)
{
    return {"organization " + base + "/.Brellstock",
            "quillomate " + base + "/.Brellstock/Quillomate"};
}

bool makeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly);
}

} // namespace

TEST(PathsTest, QmHomeMovesBothFoldersAndTheyAreCreated)
{
    ProbeHost host;
    ASSERT_TRUE(host.isValid());

    const QString base = host.root() + "/data/qm";
    host.setEnv("QM_HOME", base);
    EXPECT_EQ(host.run({"paths"}).lines, pathLines(base));
    EXPECT_TRUE(QFileInfo(base + "/.Brellstock/Quillomate").isDir());

    // A trailing slash, doubled separators and ".." give the clean absolute folder.
    host.setEnv("QM_HOME", host.root() + "/other/../clean//");
    EXPECT_EQ(host.run({"paths"}).lines, pathLines(host.root() + "/clean"));
    EXPECT_TRUE(QFileInfo(host.root() + "/clean/.Brellstock/Quillomate").isDir());

    // A relative QM_HOME is taken against the current folder.
    ASSERT_TRUE(QDir().mkpath(host.root() + "/cwd"));
    host.setEnv("QM_HOME", "relative/qm");
    EXPECT_EQ(host.run({"paths"}, host.root() + "/cwd").lines,
              pathLines(host.root() + "/cwd/relative/qm"));
    EXPECT_TRUE(QFileInfo(host.root() + "/cwd/relative/qm/.Brellstock/Quillomate").isDir());
}

TEST(PathsTest, EmptyOrUnsetQmHomeMeansTheHomeFolder)
{
    ProbeHost host;
    ASSERT_TRUE(host.isValid());

    host.setEnv("QM_HOME", "");
    EXPECT_EQ(host.run({"paths"}).lines, pathLines(host.home()));
    EXPECT_TRUE(QFileInfo(host.home() + "/.Brellstock/Quillomate").isDir());

    host.unsetEnv("QM_HOME");
    EXPECT_EQ(host.run({"paths"}).lines, pathLines(host.home()));
}

TEST(PathsTest, UnusableQmHomeEndsTheProcessButTheHomeFolderOnlyLogs)
{
    ProbeHost host;
    ASSERT_TRUE(host.isValid());
    const QString blocker = host.root() + "/blocker";
    ASSERT_TRUE(makeFile(blocker));

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
