// SPDX-License-Identifier: Apache-2.0
// Loads the VirtualBox engine the way a desktop host does and lists its devices:
//   example-host
// prints the framework's version, the engine's start-up state and VirtualBox's version,
// then one line per device: its name, CPUs and memory. Exits 1 when no engine loads.
#include <vmtools/loadstateinfo.h>
#include <vmtools/version.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QCoreApplication>
#include <QTextStream>

#include <memory>
#include <vector>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);

    out << "framework " << VMTOOLS_VERSION_STRING << '\n';
    LoadStateInfo state;
    std::unique_ptr<VMToolsEngine> engine(VMToolsEngine::loadEngine(&state));
    if (!engine) {
        QTextStream(stderr) << "example-host: no engine could be loaded\n";
        return 1;
    }
    out << "engine state " << state.state << ", VirtualBox " << engine->version() << '\n';

    std::vector<std::unique_ptr<VMToolsMachine>> machines;
    for (VMToolsMachine *machine : engine->getMachines())
        machines.emplace_back(machine);
    out << machines.size() << " device(s)\n";
    for (const auto &machine : machines)
        out << machine->getName() << ' ' << machine->getCPUCount() << " CPU(s) "
            << machine->getRAM() << " MB\n";
    return 0;
}
