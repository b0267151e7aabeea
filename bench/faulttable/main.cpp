// SPDX-License-Identifier: Apache-2.0
// vmtools-fault-table <file>: measures every cell of the fault table against the stand-in
// and writes the table to <file> as Markdown (scripts/fault-table.sh compares it with the
// one in docs/reliability.md). Exits 1 when the host cannot be made or an operation fails
// with no fault at all, so that no table of a broken build reaches the docs.
#include "faultcells.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

namespace {

// A home, configuration folder and QM_HOME of the run's own, as the tests have, so that
// the run never touches the real user's settings or files.
void useOwnHome(const QTemporaryDir &home)
{
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QStringLiteral("/.config")));
    qputenv("QM_HOME", QFile::encodeName(home.path() + QStringLiteral("/qm")));
}

int fail(const QString &why)
{
    std::fprintf(stderr, "vmtools-fault-table: %s\n", qPrintable(why));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace FaultCells;
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/vmtools-fault-table-XXXXXX"));
    useOwnHome(home);
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: vmtools-fault-table <table.md>\n");
        return 2;
    }
    FaultTestbed bed;
    if (!bed.problems().isEmpty())
        return fail(bed.problems().join(QStringLiteral("; ")));
    QList<QList<Measured>> rows;
    for (int operation = 0; operation < operationCount(); ++operation) {
        rows.append(QList<Measured>());
        for (int f = 0; f < FaultCount; ++f) {
            rows.last().append(measure(bed, operation, Fault(f)));
            std::fprintf(stderr, "%s under %s: %s\n", qPrintable(operationName(operation)),
                         qPrintable(faultName(Fault(f))), qPrintable(cell(rows.last().last())));
        }
        const Measured &clean = rows.last().first();
        if (!clean.prepared || clean.outcome.failed)
            return fail(operationName(operation) + QStringLiteral(" fails with no fault"));
    }
    QFile table(QString::fromLocal8Bit(argv[1]));
    if (!table.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        table.write(markdown(rows).toUtf8()) < 0)
        return fail(QStringLiteral("cannot write ") + table.fileName());
    return 0;
}
