// SPDX-License-Identifier: Apache-2.0
// The Russian texts of the stand-in. Only two are VirtualBox's own, quoted from its
// VBoxManageNls_ru.ts: "Папка машины по умолчанию:" and "Не задано какое-либо значение!".
// The others are our own Russian for the labels a client reads; VirtualBox's wording of
// them may differ, so no client should match them literally.
#include "translation.h"

#include <QHash>

namespace VBoxSim::Translation {

QString russian(const QString &english)
{
    static const QHash<QString, QString> table = {
        // list systemproperties (VirtualBox's own)
        {"Default machine folder:          %1", "Папка машины по умолчанию:          %1"},
        // guestproperty get (the second is VirtualBox's own)
        {"Value: %1", "Значение: %1"},
        {"No value set!", "Не задано какое-либо значение!"},
        // list hostinfo
        {"Processor online count: %1", "Число работающих процессоров: %1"},
        {"Processor online core count: %1", "Число работающих ядер процессора: %1"},
        {"Memory size: %1 MByte", "Объём памяти: %1 МБайт"},
        // list hostonlyifs and bridgedifs; GUID and DHCP stay English
        {"Name:", "Имя:"},
        {"IPAddress:", "IP-адрес:"},
        {"NetworkMask:", "Маска сети:"},
        // list dhcpservers; "Dhcpd IP:" stays English
        {"NetworkName:", "Имя сети:"},
        {"LowerIPAddress:", "Нижний IP-адрес:"},
        {"UpperIPAddress:", "Верхний IP-адрес:"},
        {"Enabled:", "Включён:"},
        {"Global Configuration:", "Общие настройки:"},
        {"    minLeaseTime:", "    Мин. срок аренды:"},
        {"    defaultLeaseTime:", "    Срок аренды по умолчанию:"},
        {"    maxLeaseTime:", "    Макс. срок аренды:"},
        {"    Forced options:", "    Обязательные параметры:"},
        {"    Suppressed opts.:", "    Подавленные параметры:"},
        {"Groups:", "Группы:"},
        {"Individual Configs:", "Индивидуальные настройки:"},
        // showvminfo; "UUID:" stays English
        {"Config file:", "Файл конфигурации:"},
        {"Memory size:", "Объём памяти:"},
        {"Number of CPUs:", "Число процессоров:"},
        {"State:", "Состояние:"},
        {"(since %1)", "(с %1)"},
        {"powered off", "выключена"},
        {"running", "работает"},
        {"paused", "приостановлена"},
        {"Bridged Interface '%1'", "Сетевой мост '%1'"},
        {"Host-only Interface '%1'", "Виртуальный адаптер хоста '%1'"},
        {"Internal Network '%1'", "Внутренняя сеть '%1'"},
        {"NAT Network '%1'", "Сеть NAT '%1'"},
        {"Generic '%1'", "Универсальный драйвер '%1'"},
        {"none", "не подключён"},
        {"Port %1, Unit %2:", "Порт %1, устройство %2:"},
        {"Empty", "Пусто"},
        {"Location:", "Расположение:"},
        // snapshot list, with "Name:" above
        {"Description:", "Описание:"},
        // hostonlyif create
        {"Interface '%1' was successfully created", "Интерфейс '%1' успешно создан"},
    };
    return table.value(english, english);
}

} // namespace VBoxSim::Translation
