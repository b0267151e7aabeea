// SPDX-License-Identifier: Apache-2.0
#include <vmtools/cpuinfo.h>

#include <vmtools/vboxlog.h>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

constexpr std::uint32_t IntelFeatureLeaf = 0x1;
constexpr std::uint32_t ExtendedBaseLeaf = 0x80000000;
constexpr std::uint32_t AmdFeatureLeaf = 0x80000001;
constexpr std::uint32_t VmxBit = 1u << 5;
constexpr std::uint32_t SvmBit = 1u << 2;

QByteArray registerText(std::uint32_t value)
{
    QByteArray text;
    for (int byte = 0; byte < 4; ++byte) {
        const char c = static_cast<char>((value >> (8 * byte)) & 0xff);
        if (c == '\0')
            break;
        text.append(c);
    }
    return text;
}

QString hex(std::uint32_t value)
{
    return QString::number(value, 16);
}

} // namespace

namespace CpuInfo {

Registers hostCpuid(std::uint32_t leaf)
{
    Registers r;
#if defined(__x86_64__) || defined(__i386__)
    __cpuid(leaf, r.eax, r.ebx, r.ecx, r.edx);
#else
    Q_UNUSED(leaf);
#endif
    return r;
}

QString vendorString(const CpuidFunction &cpuid)
{
    const Registers r = cpuid(0);
    return QString::fromLatin1(registerText(r.ebx) + registerText(r.edx) + registerText(r.ecx));
}

bool hasVirtualizationExtensions(const QString &vendor, const CpuidFunction &cpuid)
{
    if (vendor == QLatin1String("GenuineIntel")) {
        const Registers features = cpuid(0).eax == 0 ? Registers() : cpuid(IntelFeatureLeaf);
        VBoxLog::debug() << "CPUID 0x1 (Intel): ECX=" << hex(features.ecx);
        return features.ecx & VmxBit;
    }
    const Registers features =
        cpuid(ExtendedBaseLeaf).eax > ExtendedBaseLeaf ? cpuid(AmdFeatureLeaf) : Registers();
    VBoxLog::debug() << "CPUID 0x80000001 (AMD): ECX=" << hex(features.ecx);
    return features.ecx & SvmBit;
}

} // namespace CpuInfo
