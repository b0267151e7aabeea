// SPDX-License-Identifier: Apache-2.0
#include "fuzztext.h"

#include <QtGlobal>

namespace {

// The readers log through Qt; printing every input's lines would drown the fuzzer's own.
void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

const bool quiet = (qInstallMessageHandler(dropMessage), true);

} // namespace

namespace FuzzText {

QString decode(const uint8_t *data, size_t size)
{
    Q_UNUSED(quiet);
    return QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

QPair<QString, QString> splitFirstLine(const QString &text)
{
    const int end = text.indexOf(QLatin1Char('\n'));
    if (end < 0)
        return {text, QString()};
    return {text.left(end), text.mid(end + 1)};
}

} // namespace FuzzText
