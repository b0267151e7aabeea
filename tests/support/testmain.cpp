// SPDX-License-Identifier: Apache-2.0
// Test entry point: a QCoreApplication, and a home, configuration folder and QM_HOME of
// the test's own, so that no test touches the real user's settings or files.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <unistd.h>

int main(int argc, char **argv)
{
    // A process group of our own, so that a signal sent to the group by mistake (the
    // observer's tests count any that reach us) can never reach the test runner.
    ::setpgid(0, 0);

    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/vmtools-test-home-XXXXXX"));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QStringLiteral("/.config")));
    // A name of non-ASCII letters, as many users' home folders have.
    qputenv("QM_HOME", QFile::encodeName(home.path() + QStringLiteral("/zo\u00e9/qm")));

    QCoreApplication app(argc, argv);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
