#pragma once

#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

// A VBoxManage output recorded from VirtualBox 5.2.
inline QString recorded(const QString &file)
{
    QFile data(QStringLiteral(TEST_DATA_DIR "/5.2/") + file);
    EXPECT_TRUE(data.open(QIODevice::ReadOnly)) << file.toStdString();
    return QString::fromUtf8(data.readAll());
}

// An argument list written as one line: the arguments separated by single spaces.
inline QStringList cmd(const QString &line)
{
    return line.split(QLatin1Char(' '));
}

// Argument lists written as lines.
inline QList<QStringList> cmds(std::initializer_list<const char *> lines)
{
    QList<QStringList> result;
    for (const char *line : lines)
        result.append(cmd(QString::fromUtf8(line)));
    return result;
}
