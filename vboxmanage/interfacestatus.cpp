#include "interfacestatus.h"

int getInterfaceStatus(const QString &interfaceName, const QString &interfaceAddress)
{
    Q_UNUSED(interfaceName);
    Q_UNUSED(interfaceAddress);
    return 3;
}
