// SPDX-License-Identifier: Apache-2.0
#include "commands.h"

namespace Commands {

QList<Command> all()
{
    return engineCommands() + deviceCommands() + lifecycleCommands() + profileCommands() +
           mediaCommands();
}

const Command *find(const QString &name)
{
    static const QList<Command> commands = all();
    for (const Command &command : commands) {
        if (command.name == name)
            return &command;
    }
    return nullptr;
}

} // namespace Commands
