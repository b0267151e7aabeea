// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsmachine.h>

#include <array>

namespace {

// Built once at load; any state above Aborted reads as "On", as hosts expect.
const std::array<QString, 6> StatusStrings = {
    QStringLiteral("Unknown"), QStringLiteral("On"),      QStringLiteral("Off"),
    QStringLiteral("Paused"),  QStringLiteral("Process"), QStringLiteral("Aborted"),
};

} // namespace

VMToolsMachine::ConnectionInfo::ConnectionInfo(ConnectionType type, const QString &name)
    : m_name(name)
    , m_type(type)
{}

VMToolsMachine::ConnectionInfo VMToolsMachine::ConnectionInfo::createNatConnectionInfo()
{
    return ConnectionInfo(NatConnection, QString());
}

VMToolsMachine::ConnectionInfo
VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo(const QString &name)
{
    return ConnectionInfo(BridgedConnection, name);
}

VMToolsMachine::ConnectionInfo VMToolsMachine::ConnectionInfo::createUnknownConnectionInfo()
{
    return ConnectionInfo(UnknownConnection, QString());
}

QString VMToolsMachine::ConnectionInfo::name() const
{
    return m_name;
}

VMToolsMachine::ConnectionType VMToolsMachine::ConnectionInfo::type() const
{
    return m_type;
}

QString VMToolsMachine::getStatusString(State state)
{
    const auto index = static_cast<std::size_t>(state);
    return index < StatusStrings.size() ? StatusStrings[index] : StatusStrings[On];
}

QString VMToolsMachine::getAdapterTypeString(AdapterType type)
{
    switch (type) {
    case HostOnlyAdapter:
        return QStringLiteral("hostonly");
    case OtherAdapter:
        return QStringLiteral("unknown");
    default:
        return QStringLiteral("null");
    }
}

VMToolsMachine::~VMToolsMachine() = default;

// Copies the device profile, one getter/setter pair at a time in a fixed order;
// each write has whatever side effects the implementation's setter has.
void VMToolsMachine::duplicateDeviceProperties(VMToolsMachine *source)
{
    if (!source)
        return;
    setResolution(source->getResolution());
    setDensity(source->getDensity());
    setFullScreen(source->isFullScreen());
    setNavigationBarVisibility(source->getNavigationBarVisibility());
    setVirtualKeyboardOption(source->getVirtualKeyboardOption());
    setDeviceId(source->getDeviceId());
    setHX(source->isHX());
    setFullHX(source->isFullHX());
    setPlatform(source->getPlatform());
    setAndroidVersion(source->getAndroidVersion());
    setProductName(source->getProductName());
    setProductManufacturer(source->getProductManufacturer());
    setProductDevice(source->getProductDevice());
    setProductBoard(source->getProductBoard());
    setProductBrand(source->getProductBrand());
    setBuildDisplayId(source->getBuildDisplayId());
    setProductModel(source->getProductModel());
    setProductSerial(source->getProductSerial());
    setProductType(source->getProductType());
    setProductFingerPrint(source->getProductFingerPrint());
    setProductTags(source->getProductTags());
}
