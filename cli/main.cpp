// SPDX-License-Identifier: Apache-2.0
#include "application.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vmtools"));
    return Application().run(QCoreApplication::arguments());
}
