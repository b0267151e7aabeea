// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The processors and memory a device may have: VirtualBox's own ranges for a guest
// ("list systemproperties") narrowed by what this host has. Checked before anything runs,
// so that no doomed change starts VirtualBox's retries.
namespace GuestLimits {

struct Range
{
    unsigned int min = 1;
    unsigned int max = 0;
};

struct Limits
{
    Range cpus;
    Range memory; // MB
};

// Ranges read from "list systemproperties" output within the host's maxima; a range
// VirtualBox does not print keeps 1 as its minimum and the host's maximum.
Limits parse(const QString &systemProperties, unsigned int hostCpus, unsigned int hostMemory);

// Runs "VBoxManage list systemproperties" quietly and parses it; only the host's maxima
// when VirtualBox cannot say.
Limits read(unsigned int hostCpus, unsigned int hostMemory);

// "memory 1 is outside what VirtualBox and this host allow: 4 to 16384 MB"; empty when
// the value is in range.
QString problem(const QString &what, unsigned int value, const Range &range,
                const QString &unit = QString());

} // namespace GuestLimits
