// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <QJsonValue>
#include <QString>

// Values for --json output. What the engine could not read is null there, never an empty
// text, a zero or a placeholder of the engine's own, so that scripts can tell it apart.
namespace JsonValues {

QJsonValue text(const QString &value);                // null when empty
QJsonValue count(unsigned int value);                 // null when 0: a machine's CPUs or memory
QJsonValue address(const QString &value);             // null when empty or "0.0.0.0"
QJsonValue state(VMToolsMachine::State state);        // as ResultWords::state; null when unknown
QJsonValue adapter(VMToolsMachine::AdapterType type); // "hostonly", "other"; null when none
QJsonValue connection(VMToolsMachine::ConnectionType type); // "nat", "bridged" or null

} // namespace JsonValues
