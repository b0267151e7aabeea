// SPDX-License-Identifier: Apache-2.0
#include "jsonvalues.h"

#include "resultwords.h"

namespace JsonValues {

QJsonValue text(const QString &value)
{
    return value.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(value);
}

QJsonValue count(unsigned int value)
{
    return value == 0 ? QJsonValue(QJsonValue::Null) : QJsonValue(static_cast<double>(value));
}

QJsonValue address(const QString &value)
{
    return value == QLatin1String("0.0.0.0") ? QJsonValue(QJsonValue::Null) : text(value);
}

QJsonValue state(VMToolsMachine::State state)
{
    return state == VMToolsMachine::Unknown ? QJsonValue(QJsonValue::Null)
                                            : QJsonValue(ResultWords::state(state));
}

QJsonValue adapter(VMToolsMachine::AdapterType type)
{
    return type == VMToolsMachine::NoAdapter ? QJsonValue(QJsonValue::Null)
                                             : QJsonValue(ResultWords::adapter(type));
}

QJsonValue connection(VMToolsMachine::ConnectionType type)
{
    return type == VMToolsMachine::UnknownConnection ? QJsonValue(QJsonValue::Null)
                                                     : QJsonValue(ResultWords::connection(type));
}

} // namespace JsonValues
