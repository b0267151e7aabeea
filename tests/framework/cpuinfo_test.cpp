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

struct CheckResult
{
    bool available;
    QList<LogLine> log;
};

CheckResult check(const QString &vendorText, FakeProcessor &processor)
{
    LogCapture log;
    const bool available = CpuInfo::hasVirtualizationExtensions(vendorText, processor.cpuid());
    return {available, log.lines()};
}

QList<LogLine> debug(const QString &text)
{
    return {{QtDebugMsg, text}};
}

} // namespace

TEST(CpuInfoTest, VendorStringJoinsEbxEdxEcxEachUpToItsFirstNul)
{
    FakeProcessor intel;
    intel.leaf(0, vendor(0x16, "Genu", "ineI", "ntel"));
    EXPECT_EQ(CpuInfo::vendorString(intel.cpuid()), "GenuineIntel");
    EXPECT_EQ(intel.asked(), QList<std::uint32_t>{0});

    FakeProcessor amd;
    amd.leaf(0, vendor(0xd, "Auth", "enti", "cAMD"));
    EXPECT_EQ(CpuInfo::vendorString(amd.cpuid()), "AuthenticAMD");

    // A NUL byte ends that register's text only; the following registers still count.
    FakeProcessor shortNames;
    shortNames.leaf(0, {1, text("AB\0C"), 0, text("XYZW")});
    EXPECT_EQ(CpuInfo::vendorString(shortNames.cpuid()), "ABXYZW");

    FakeProcessor none;
    EXPECT_EQ(CpuInfo::vendorString(none.cpuid()), "");
}

TEST(CpuInfoTest, IntelIsJudgedByTheVmxBitOfLeafOne)
{
    FakeProcessor withVmx;
    withVmx.leaf(0, vendor(0x16, "Genu", "ineI", "ntel")).leaf(1, withEcx(0x7ffafbbf, 0x906ea));
    CheckResult result = check("GenuineIntel", withVmx);
    EXPECT_TRUE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x1 (Intel): ECX= \"7ffafbbf\""));
    EXPECT_TRUE(withVmx.asked().contains(1));
    EXPECT_FALSE(withVmx.asked().contains(0x80000001));

    FakeProcessor withoutVmx;
    withoutVmx.leaf(0, vendor(0x16, "Genu", "ineI", "ntel")).leaf(1, withEcx(0xffffffdf));
    result = check("GenuineIntel", withoutVmx);
    EXPECT_FALSE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x1 (Intel): ECX= \"ffffffdf\""));

    FakeProcessor onlyVmx;
    onlyVmx.leaf(0, vendor(1, "Genu", "ineI", "ntel")).leaf(1, withEcx(0x20));
    result = check("GenuineIntel", onlyVmx);
    EXPECT_TRUE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x1 (Intel): ECX= \"20\""));

    // Highest standard leaf 0: leaf 1 is never executed and reads as zero.
    FakeProcessor noLeafOne;
    noLeafOne.leaf(0, vendor(0, "Genu", "ineI", "ntel")).leaf(1, withEcx(0x20));
    result = check("GenuineIntel", noLeafOne);
    EXPECT_FALSE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x1 (Intel): ECX= \"0\""));
    EXPECT_FALSE(noLeafOne.asked().contains(1));
}

TEST(CpuInfoTest, EveryOtherVendorIsJudgedByTheSvmBitOfTheExtendedLeaf)
{
    const auto amdLike = [](std::uint32_t maxExtended, std::uint32_t ecx) {
        FakeProcessor processor;
        processor.leaf(0, vendor(0xd, "Auth", "enti", "cAMD"))
            .leaf(1, withEcx(0x20)) // a VMX bit that must not count here
            .leaf(0x80000000, {maxExtended, 0, 0, 0})
            .leaf(0x80000001, withEcx(ecx));
        return processor;
    };

    FakeProcessor withSvm = amdLike(0x8000001f, 0x37ff);
    CheckResult result = check("AuthenticAMD", withSvm);
    EXPECT_TRUE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x80000001 (AMD): ECX= \"37ff\""));
    EXPECT_FALSE(withSvm.asked().contains(1));

    FakeProcessor withoutSvm = amdLike(0x80000001, 0xfffffffb);
    result = check("AuthenticAMD", withoutSvm);
    EXPECT_FALSE(result.available);
    EXPECT_EQ(result.log, debug("[VBox] CPUID 0x80000001 (AMD): ECX= \"fffffffb\""));

    // Unknown vendors, and Intel's name in another letter case, take the same branch.
    for (const QString &name :
         {QString("HygonGenuine"), QString("genuineintel"), QString("GENUINEINTEL"), QString()}) {
        SCOPED_TRACE(name.toStdString());
        FakeProcessor svmOnly = amdLike(0x80000008, 0x4);
        result = check(name, svmOnly);
        EXPECT_TRUE(result.available);
        EXPECT_EQ(result.log, debug("[VBox] CPUID 0x80000001 (AMD): ECX= \"4\""));
    }

    // Highest extended leaf not above 0x80000000: leaf 0x80000001 reads as zero.
    for (std::uint32_t maxExtended : {0x80000000u, 0x7fffffffu, 0u}) {
        SCOPED_TRACE(maxExtended);
        FakeProcessor lowLeaf = amdLike(maxExtended, 0x4);
        result = check("AuthenticAMD", lowLeaf);
        EXPECT_FALSE(result.available);
        EXPECT_EQ(result.log, debug("[VBox] CPUID 0x80000001 (AMD): ECX= \"0\""));
        EXPECT_FALSE(lowLeaf.asked().contains(0x80000001));
    }
}
