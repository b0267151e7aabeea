// The VBoxManage stand-in: answers the plug-in's command lines from a simulated host.
#include "dispatch.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return VBoxSim::runVBoxManage(app.arguments().mid(1));
}
