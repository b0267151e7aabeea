// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

// The fuzzer's bytes as the engine sees a tool's output: decoded as UTF-8.
namespace FuzzText {

QString decode(const uint8_t *data, size_t size);

// The first line of the text (a key or name to look for) and the rest.
QPair<QString, QString> splitFirstLine(const QString &text);

} // namespace FuzzText

// A fact that holds for every input; a broken one ends the run as a crash would.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition))                                                                          \
            qFatal("fuzz check failed: %s", #condition);                                           \
    } while (false)
