// The pieces of the stand-in that need no process: fault lines, options and the appliance
// descriptor. Counted faults and the stored host are used across runs by commands_test.
#include "context.h"
#include "faults.h"
#include "ovf.h"

#include "printers.h"

#include <gtest/gtest.h>

using namespace VBoxSim;

TEST(SimulatorModel, FaultLinesAreParsedStrictly)
{
    Fault fault;
    ASSERT_TRUE(Faults::parseLine("  hostonlyif/create fail count=2 exit=7 message=no driver: "
                                  "x=y ",
                                  &fault));
    // Kinds, counts and exit codes are used across runs in commands_test.
    EXPECT_EQ(fault.message, "no driver: x=y");
    EXPECT_TRUE(fault.matches({"hostonlyif", "create"}));
    EXPECT_FALSE(fault.matches({"hostonlyif"}));
    EXPECT_FALSE(fault.matches({"hostonlyif", "remove", "vboxnet0"}));

    ASSERT_TRUE(Faults::parseLine("modifyvm locked vm=phone", &fault));
    EXPECT_EQ(fault.count, -1);
    EXPECT_TRUE(fault.matches({"modifyvm", "phone", "--memory", "1024"}));
    EXPECT_FALSE(fault.matches({"modifyvm", "phone2", "--memory", "1024"}));

    ASSERT_TRUE(Faults::parseLine("* nodriver", &fault));
    EXPECT_TRUE(fault.matches({"--version"}));
    EXPECT_TRUE(fault.matches({}));

    for (const char *bad : {"", "# startvm vmx", "startvm", "startvm explode",
                            "startvm vmx count=two", "startvm vmx colour=red"})
        EXPECT_FALSE(Faults::parseLine(bad, &fault)) << bad;
}

TEST(SimulatorModel, OptionsTakeValuesInBothSpellingsAndKeepTheirOrder)
{
    const Options options(
        {"import", "a.ova", "--vsys", "0", "--unit=10", "--ignore", "-vmname", "x", "-n", "--disk"},
        1, {"--ignore", "-n"});
    EXPECT_EQ(options.positional(), QStringList{"a.ova"});
    ASSERT_EQ(options.all().size(), 5);
    EXPECT_TRUE(options.has("-n")) << "short options keep their single dash";
    EXPECT_EQ(options.all()[1], qMakePair(QString("--unit"), QString("10")));
    EXPECT_EQ(options.all()[2], qMakePair(QString("--ignore"), QString()));
    EXPECT_EQ(options.value("--vmname"), "x");
    EXPECT_EQ(options.missingValue(), "--disk");
}

TEST(SimulatorModel, DescriptorEscapesTextAndKeepsAdaptersSizesAndPropertyFlags)
{
    // Places of disks and plain property values go through export and import in commands_test.
    Ovf::VirtualSystem system;
    system.name = "dev & co";
    system.adapters = QStringList{"HostOnly", "NAT"};
    system.disks = {{"a-disk001.vmdk", 1, 0, 2048}};
    system.guestProperties.append({"quote", "say \"<hi>\"", 43, "TRANSIENT"});

    Ovf::VirtualSystem read;
    QString error;
    ASSERT_TRUE(Ovf::read(Ovf::write(system), &read, &error)) << qPrintable(error);
    EXPECT_EQ(read.name, "dev & co");
    EXPECT_EQ(read.adapters, system.adapters);
    ASSERT_EQ(read.disks.size(), 1);
    EXPECT_EQ(read.disks[0].capacityBytes, 2048);
    ASSERT_EQ(read.guestProperties.size(), 1);
    EXPECT_EQ(read.guestProperties[0].value, "say \"<hi>\"");
    EXPECT_EQ(read.guestProperties[0].timestampNs, 43);
    EXPECT_EQ(read.guestProperties[0].flags, "TRANSIENT");

    EXPECT_FALSE(Ovf::read("<Envelope>", &read, &error));
    EXPECT_FALSE(error.isEmpty());
}
