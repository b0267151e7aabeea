// SPDX-License-Identifier: Apache-2.0
#include <vmtools/cpuinfo.h>

#include "logcapture.h"
#include "printers.h"

#include <gtest/gtest.h>

#include <QMap>

using CpuInfo::Registers;

namespace {

// Vendor texts as CPUID leaf 0 spreads them over EBX, EDX, ECX (little-endian).
constexpr std::uint32_t text(const char (&four)[5])
{
    return std::uint32_t(std::uint8_t(four[0])) | std::uint32_t(std::uint8_t(four[1])) << 8 |
           std::uint32_t(std::uint8_t(four[2])) << 16 | std::uint32_t(std::uint8_t(four[3])) << 24;
}

// A processor made of given register values; leaves it does not know read as zero.
// It records which leaves were asked for.
class FakeProcessor
{
public:
    FakeProcessor &leaf(std::uint32_t number, Registers registers)
    {
        m_leaves[number] = registers;
        return *this;
    }

    CpuInfo::CpuidFunction cpuid()
    {
        return [this](std::uint32_t number) {
            m_asked.append(number);
            return m_leaves.value(number);
        };
    }

    QList<std::uint32_t> asked() const { return m_asked; }

private:
    QMap<std::uint32_t, Registers> m_leaves;
    QList<std::uint32_t> m_asked;
};

Registers vendor(std::uint32_t maxLeaf, const char (&ebx)[5], const char (&edx)[5],
                 const char (&ecx)[5])
{
    return {maxLeaf, text(ebx), text(ecx), text(edx)};
}

Registers withEcx(std::uint32_t ecx, std::uint32_t eax = 0)
{
    return {eax, 0, ecx, 0};
}

} // namespace

TEST(CpuInfoTest, VendorStringJoinsEbxEdxEcxEachUpToItsFirstNul)
{
    FakeProcessor intel;
    intel.leaf(0, vendor(0x16, "Genu", "ineI", "ntel"));
    EXPECT_EQ(CpuInfo::vendorString(intel.cpuid()), "GenuineIntel");
    EXPECT_EQ(intel.asked(), QList<std::uint32_t>{0});

    // A NUL byte ends that register's text only; the following registers still count.
    FakeProcessor shortNames;
    shortNames.leaf(0, {1, text("AB\0C"), 0, text("XYZW")});
    EXPECT_EQ(CpuInfo::vendorString(shortNames.cpuid()), "ABXYZW");

    FakeProcessor none;
    EXPECT_EQ(CpuInfo::vendorString(none.cpuid()), "");
}

// Each case: the vendor text given, the processor's leaf 0 maximum, leaf 1 ECX, extended
// maximum and extended ECX; the answer, the ECX value logged, and the leaf that must never
// be executed (it reads as zero).
TEST(CpuInfoTest, IntelIsJudgedByTheVmxBitAndEveryOtherVendorByTheSvmBit)
{
    struct Case
    {
        QString vendorText;
        std::uint32_t maxLeaf, leafOneEcx, maxExtended, extendedEcx;
        bool available;
        QString logged;
        std::uint32_t neverAsked;
    };
    const QString intel = "[VBox] CPUID 0x1 (Intel): ECX= \"%1\"";
    const QString amd = "[VBox] CPUID 0x80000001 (AMD): ECX= \"%1\"";
    const std::uint32_t ext = 0x80000001;
    const QList<Case> cases = {
        {"GenuineIntel", 0x16, 0x7ffafbbf, 0x80000008, 0x4, true, intel.arg("7ffafbbf"), ext},
        {"GenuineIntel", 0x16, 0xffffffdf, 0x80000008, 0x4, false, intel.arg("ffffffdf"), ext},
        {"GenuineIntel", 1, 0x20, 0, 0, true, intel.arg("20"), ext},
        // Highest standard leaf 0: leaf 1 is never executed.
        {"GenuineIntel", 0, 0x20, 0, 0, false, intel.arg("0"), 1},
        // A VMX bit in leaf 1 does not count for the others.
        {"AuthenticAMD", 0xd, 0x20, 0x8000001f, 0x37ff, true, amd.arg("37ff"), 1},
        {"AuthenticAMD", 0xd, 0x20, ext, 0xfffffffb, false, amd.arg("fffffffb"), 1},
        // Unknown vendors, and Intel's name in another letter case, take the same branch.
        {"HygonGenuine", 0xd, 0x20, 0x80000008, 0x4, true, amd.arg("4"), 1},
        {"genuineintel", 0xd, 0x20, 0x80000008, 0x4, true, amd.arg("4"), 1},
        {"", 0xd, 0x20, 0x80000008, 0x4, true, amd.arg("4"), 1},
        // Highest extended leaf not above 0x80000000: the extended leaf is never executed.
        {"AuthenticAMD", 0xd, 0x20, 0x80000000, 0x4, false, amd.arg("0"), ext},
        {"AuthenticAMD", 0xd, 0x20, 0x7fffffff, 0x4, false, amd.arg("0"), ext},
        {"AuthenticAMD", 0xd, 0x20, 0, 0x4, false, amd.arg("0"), ext},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.logged.toStdString());
        FakeProcessor processor;
        processor.leaf(0, vendor(c.maxLeaf, "Auth", "enti", "cAMD"))
            .leaf(1, withEcx(c.leafOneEcx, 0x906ea))
            .leaf(0x80000000, {c.maxExtended, 0, 0, 0})
            .leaf(ext, withEcx(c.extendedEcx));
        LogCapture log;
        EXPECT_EQ(CpuInfo::hasVirtualizationExtensions(c.vendorText, processor.cpuid()),
                  c.available);
        EXPECT_EQ(log.lines(), (QList<LogLine>{LogLine{QtDebugMsg, c.logged}}));
        EXPECT_FALSE(processor.asked().contains(c.neverAsked));
    }
}
