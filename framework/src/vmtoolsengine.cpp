// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsengine.h>

#include <vmtools/cpuinfo.h>
#include <vmtools/vboxlog.h>

VMToolsEngine::VMToolsEngine()
    : m_chipset(CpuInfo::vendorString(CpuInfo::hostCpuid))
{
    VBoxLog::debug() << "Chipset:" << m_chipset;
    updateCPUVirtualizationAvailability();
}

VMToolsEngine::~VMToolsEngine() = default;

bool VMToolsEngine::isCPUVirtualizationAvailable() const
{
    return m_cpuVirtualizationAvailable;
}

QString VMToolsEngine::getChipset() const
{
    return m_chipset;
}

void VMToolsEngine::updateCPUVirtualizationAvailability()
{
    m_cpuVirtualizationAvailable =
        CpuInfo::hasVirtualizationExtensions(m_chipset, CpuInfo::hostCpuid);
}
