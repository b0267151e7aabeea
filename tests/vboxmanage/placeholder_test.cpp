#include "vboxmanagecore.h"

#include <gtest/gtest.h>

TEST(PluginPlaceholderTest, FactoryNamesTheDiskFiles)
{
    VBoxManageCore core;
    EXPECT_EQ(core.getDataDiskName().toStdString(), "");
}
