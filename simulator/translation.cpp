// SPDX-License-Identifier: Apache-2.0
// The Russian texts of the stand-in. Only two are VirtualBox's own, quoted from its
// VBoxManageNls_ru.ts: "Папка машины по умолчанию:" and "Не задано какое-либо значение!".
// The others, and the service's messages, are our own Russian for what a client reads;
// VirtualBox's wording of them may differ, so no client should match them literally.
#include "translation.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QRegularExpression>
#include <QStringList>

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

namespace VBoxSim::Translation {

namespace {

// English message patterns and their Russian, \\1... for what the pattern captured.
const QList<QPair<QRegularExpression, QString>> &serviceMessages()
{
    using Entry = QPair<QRegularExpression, QString>;
    static const QList<Entry> table{
        {QRegularExpression("^The machine '(.*)' is already locked for a session \\(or being "
                            "unlocked\\)$"),
         "Машина '\\1' уже заблокирована сеансом (или разблокируется)"},
        {QRegularExpression("^Cannot unregister the machine '(.*)' while it is locked$"),
         "Нельзя снять с регистрации машину '\\1', пока она заблокирована"},
        {QRegularExpression("^The object functionality is limited$"),
         "Функциональность объекта ограничена"},
        {QRegularExpression("^Cannot register the hard disk '(.*)' \\{(.*)\\} because a hard "
                            "disk '(.*)' with UUID \\{(.*)\\} already exists$"),
         "Невозможно зарегистрировать жёсткий диск '\\1' {\\2}, так как жёсткий диск '\\3' с "
         "UUID {\\4} уже существует"},
        {QRegularExpression("^Cannot close medium '(.*)' because it has (\\d+) child media$"),
         "Невозможно закрыть носитель '\\1', так как у него есть дочерние носители: \\2"},
        {QRegularExpression("^The virtual machine '(.*)' has terminated unexpectedly during "
                            "startup with exit code (\\d+) \\((0x[0-9a-f]+)\\)$"),
         "Виртуальная машина '\\1' неожиданно завершила работу при запуске с кодом \\2 (\\3)"},
        {QRegularExpression("^Could not find a registered machine named '(.*)'$"),
         "Не удалось найти зарегистрированную машину с именем '\\1'"},
        {QRegularExpression("^Machine settings file '(.*)' already exists$"),
         "Файл настроек машины '\\1' уже существует"},
        {QRegularExpression("^Could not rename the directory '(.*)' to '(.*)' to save the settings "
                            "file \\((VERR_\\w+)\\)$"),
         "Не удалось переименовать папку '\\1' в '\\2' для сохранения файла настроек (\\3)"},
        {QRegularExpression("^Error reading OVA '(.*)' \\((VERR_\\w+)\\)$"),
         "Ошибка чтения OVA '\\1' (\\2)"},
        {QRegularExpression("^Could not read OVF file '(.*)' \\((VERR_\\w+)\\)$"),
         "Не удалось прочитать файл OVF '\\1' (\\2)"},
        {QRegularExpression("^VT-x is not available \\((VERR_\\w+)\\)$"), "VT-x недоступен (\\1)"},
        {QRegularExpression("^AMD-V is disabled in the BIOS \\(or by the host OS\\) "
                            "\\((VERR_\\w+)\\)$"),
         "AMD-V отключён в BIOS (или основной ОС) (\\1)"},
        {QRegularExpression("^VT-x is being used by another hypervisor \\((VERR_\\w+)\\)\\.$"),
         "VT-x используется другим гипервизором (\\1)."},
        {QRegularExpression("^AMD-V is being used by another hypervisor \\((VERR_\\w+)\\)\\.$"),
         "AMD-V используется другим гипервизором (\\1)."},
        {QRegularExpression("^VirtualBox can't (operate in VMX root mode|enable the AMD-V "
                            "extension)\\. Please disable the KVM kernel extension, recompile "
                            "your kernel and reboot \\((VERR_\\w+)\\)\\.$"),
         "VirtualBox не может работать при KVM. Отключите модуль ядра KVM, пересоберите ядро и "
         "перезагрузитесь (\\2)."},
        {QRegularExpression("^Host API has not enabled SVME bit in EFER MSR\\. \\((VERR_\\w+)\\)$"),
         "API основной ОС не включил бит SVME в MSR EFER. (\\1)"},
        {QRegularExpression("^The VMMR0\\.r0 module version does not match VBoxVMM\\.dll/so/dylib "
                            "\\((VERR_\\w+)\\)$"),
         "Версия модуля VMMR0.r0 не совпадает с VBoxVMM.dll/so/dylib (\\1)"},
        {QRegularExpression("^The installed support driver doesn't match the version of the "
                            "user \\((VERR_\\w+)\\)$"),
         "Установленный драйвер поддержки другой версии, чем программа (\\1)"},
    };
    return table;
}

QString translatedLine(const QString &line)
{
    for (const auto &entry : serviceMessages()) {
        const QRegularExpressionMatch match = entry.first.match(line);
        if (!match.hasMatch())
            continue;
        QString text = entry.second;
        for (int i = match.lastCapturedIndex(); i > 0; --i)
            text.replace(QStringLiteral("\\%1").arg(i), match.captured(i));
        return text;
    }
    return line;
}

} // namespace

QString russianServiceMessage(const QString &english)
{
    QStringList lines = english.split('\n');
    for (QString &line : lines)
        line = translatedLine(line);
    return lines.join('\n');
}

} // namespace VBoxSim::Translation
