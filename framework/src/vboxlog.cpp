// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vboxlog.h>

namespace {
QDebug withPrefix(QDebug stream)
{
    stream << "[VBox]";
    return stream;
}
} // namespace

namespace VBoxLog {

// A default QMessageLogger carries no file, line or function.
QDebug debug()
{
    return withPrefix(QMessageLogger().debug());
}

QDebug warning()
{
    return withPrefix(QMessageLogger().warning());
}

QDebug critical()
{
    return withPrefix(QMessageLogger().critical());
}

} // namespace VBoxLog
