#include "vboxinterfaceparser.h"

namespace VBoxInterfaceParser {

QStringList parseBridgeableInterfaces(const QString &output)
{
    Q_UNUSED(output);
    return {};
}

bool parseInterfaceStatus(const QString &output, VMToolsMachine::ConnectionType *type,
                          QString *name)
{
    Q_UNUSED(output);
    Q_UNUSED(type);
    Q_UNUSED(name);
    return false;
}

} // namespace VBoxInterfaceParser
