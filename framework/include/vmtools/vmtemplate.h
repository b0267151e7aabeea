// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QString>

// A device template as the host application describes it; the engine only reads it.
struct VMTemplate
{
    QString uuid;
    unsigned int dataDiskSize = 0;
    QDateTime releaseDate;
    bool hasCamera = false;
    bool hasGyroscope = false;
    int screenWidth = 0;
    int screenHeight = 0;
    unsigned int density = 0;
    bool hasNavigationBar = false;
    QString androidVersion;
    QString productVersion;
    QString platform;
    unsigned int cpuCount = 0;
    unsigned int memorySize = 0; // megabytes
};
