// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// What the locale variables ask of VirtualBox, read the way its runtime reads them.
namespace VBoxSim::UserLocale {

// The message language of LC_ALL, LC_MESSAGES or LANG (the first that is set and not
// empty) without character set and modifier: "ru_RU" for "ru_RU.UTF-8", "C" if none.
QString messageLanguage();

// Whether LC_ALL, LC_CTYPE or LANG (the first that is set and not empty) names the
// UTF-8 character set; anything else, and nothing, is ASCII.
bool utf8CharacterSet();

} // namespace VBoxSim::UserLocale
