// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QString>

#include <cstdint>
#include <functional>

// Processor identification through CPUID. The decisions take the instruction as a
// function so that they can be judged on any register values.
namespace CpuInfo {

struct Registers
{
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

using CpuidFunction = std::function<Registers(std::uint32_t leaf)>;

// The host processor's CPUID; all registers zero where the instruction does not exist.
VMTOOLS_EXPORT Registers hostCpuid(std::uint32_t leaf);

// The vendor text of leaf 0: EBX, EDX, ECX, each up to its first NUL byte.
VMTOOLS_EXPORT QString vendorString(const CpuidFunction &cpuid);

// VT-x for "GenuineIntel", AMD-V for every other vendor; logs the register it read.
VMTOOLS_EXPORT bool hasVirtualizationExtensions(const QString &vendor, const CpuidFunction &cpuid);

} // namespace CpuInfo
