// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/paths.h>

using CleanDeployDirTest = DevicesTest;

// Deletion, renaming and their refusals are transcripts (tests/data/scenarios).
TEST_F(CleanDeployDirTest, CleanDeployDirRemovesOnlyOrdinaryFolders)
{
    // A missing folder is already clean.
    EXPECT_TRUE(m_core.cleanDeployDir(m_deployDir + "absent"));
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_TRUE(m_log.lines().isEmpty());

    QDir::root().mkpath(m_root.path() + "/cwd");
    const QString previousCurrent = QDir::currentPath();
    QDir::setCurrent(m_root.path() + "/cwd");
    QFile::link(QDir::homePath(), m_deployDir + "home-link");
    const QStringList before = tree();
    for (const QString &folder :
         {QString(), QString(" "), QDir::homePath(), Paths::getQuillomatePath(), m_deployDir,
          m_deployDir + "/.", m_root.path(), m_deployDir + "home-link"}) {
        EXPECT_FALSE(m_core.cleanDeployDir(folder)) << folder.toStdString();
        EXPECT_TRUE(m_log.contains(
            QtCriticalMsg,
            "[VBox] [cleanDeployDir] Refusing to remove protected folder \"" + folder + "\""));
    }
    QDir::setCurrent(previousCurrent);
    EXPECT_EQ(tree(), before);
    EXPECT_TRUE(m_standIn.calls().isEmpty());

    // VirtualBox puts the settings of "x+y" in "x_y": a folder holding the settings of a
    // machine VirtualBox knows, or cannot rule out, is another device's.
    const QString uuid = QStringLiteral("0b8a5f3e-6c1d-4e2f-9a7b-3c4d5e6f7a8b");
    const QString machine = QStringLiteral("<?xml version=\"1.0\"?>\n<!-- DO NOT EDIT -->\n"
                                           "<VirtualBox>\n  <Machine uuid=\"{%1}\" name=\"x+y\">");
    struct Row
    {
        QString settings;
        Answer lookup;
        bool removed;
    };
    const QList<Row> rows{{machine.arg(uuid), Answer::ok(description("x+y")), false},
                          {machine.arg(uuid), Answer::fail(1, "VBoxSVC is busy"), false},
                          {"<VirtualBox>", Answer::ok(), false},
                          {machine.arg(uuid), notFound(uuid), true}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.settings.toStdString());
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_log.clear();
        const QString settings = makeFile("deployed/x_y/x_y.vbox", row.settings.toUtf8());
        m_standIn.onExact({"showvminfo", uuid}, {row.lookup});
        EXPECT_EQ(m_core.cleanDeployDir(m_deployDir + "x_y"), row.removed);
        EXPECT_EQ(QFileInfo::exists(settings), !row.removed);
        EXPECT_EQ(m_log.texts(QtCriticalMsg).size(), row.removed ? 0 : 1);
        if (!row.removed) {
            EXPECT_EQ(m_log.texts(QtCriticalMsg).constFirst(),
                      "[VBox] [cleanDeployDir] Refusing to remove folder \"" + m_deployDir +
                          "x_y\" holding the settings of a registered machine: \"" + settings +
                          '"');
        }
    }
}
