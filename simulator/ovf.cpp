// SPDX-License-Identifier: Apache-2.0
#include "ovf.h"

#include <QMap>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace VBoxSim::Ovf {

namespace {

const QString OvfNs = QStringLiteral("http://schemas.dmtf.org/ovf/envelope/1");
const QString RasdNs = QStringLiteral(
    "http://schemas.dmtf.org/wbem/wscim/1/cim-schema/2/CIM_ResourceAllocationSettingData");
const QString VssdNs = QStringLiteral(
    "http://schemas.dmtf.org/wbem/wscim/1/cim-schema/2/CIM_VirtualSystemSettingData");
const QString VboxNs = QStringLiteral("http://www.virtualbox.org/ovf/machine");
const QString VmdkFormat =
    QStringLiteral("http://www.vmware.com/interfaces/specifications/vmdk.html#streamOptimized");

enum ResourceType {
    CpuItem = 3,
    MemoryItem = 4,
    IdeControllerItem = 5,
    EthernetItem = 10,
    DiskItem = 17,
    UsbItem = 23,
    SoundItem = 35
};

void writeItem(QXmlStreamWriter &xml, const QMap<QString, QString> &fields)
{
    xml.writeStartElement(OvfNs, QStringLiteral("Item"));
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        xml.writeTextElement(RasdNs, it.key(), it.value());
    xml.writeEndElement();
}

QString diskId(int index)
{
    return QStringLiteral("vmdisk%1").arg(index + 1);
}

void writeHardware(QXmlStreamWriter &xml, const VirtualSystem &s)
{
    xml.writeStartElement(OvfNs, QStringLiteral("VirtualHardwareSection"));
    xml.writeTextElement(OvfNs, QStringLiteral("Info"),
                         QStringLiteral("Virtual hardware requirements for a virtual machine"));
    xml.writeStartElement(OvfNs, QStringLiteral("System"));
    xml.writeTextElement(VssdNs, QStringLiteral("ElementName"),
                         QStringLiteral("Virtual Hardware Family"));
    xml.writeTextElement(VssdNs, QStringLiteral("InstanceID"), QStringLiteral("0"));
    xml.writeTextElement(VssdNs, QStringLiteral("VirtualSystemIdentifier"), s.name);
    xml.writeTextElement(VssdNs, QStringLiteral("VirtualSystemType"),
                         QStringLiteral("virtualbox-2.2"));
    xml.writeEndElement();
    int id = 1;
    writeItem(xml, {{"Caption", QStringLiteral("%1 virtual CPU").arg(s.cpus)},
                    {"ElementName", QStringLiteral("%1 virtual CPU").arg(s.cpus)},
                    {"InstanceID", QString::number(id++)},
                    {"ResourceType", QString::number(CpuItem)},
                    {"VirtualQuantity", QString::number(s.cpus)}});
    writeItem(xml, {{"AllocationUnits", "MegaBytes"},
                    {"ElementName", QStringLiteral("%1 MB of memory").arg(s.memoryMB)},
                    {"InstanceID", QString::number(id++)},
                    {"ResourceType", QString::number(MemoryItem)},
                    {"VirtualQuantity", QString::number(s.memoryMB)}});
    const int firstChannel = id;
    for (int channel = 0; channel < 2; ++channel)
        writeItem(xml, {{"Address", QString::number(channel)},
                        {"ElementName", s.controllerName},
                        {"InstanceID", QString::number(id++)},
                        {"ResourceSubType", s.controllerType},
                        {"ResourceType", QString::number(IdeControllerItem)}});
    if (s.usb)
        writeItem(xml, {{"ElementName", "usb"},
                        {"InstanceID", QString::number(id++)},
                        {"ResourceType", QString::number(UsbItem)}});
    if (s.sound)
        writeItem(xml, {{"ElementName", "sound"},
                        {"InstanceID", QString::number(id++)},
                        {"ResourceSubType", "ensoniq1371"},
                        {"ResourceType", QString::number(SoundItem)}});
    for (int i = 0; i < s.disks.size(); ++i)
        writeItem(xml, {{"AddressOnParent", QString::number(s.disks[i].device)},
                        {"ElementName", QStringLiteral("disk%1").arg(i + 1)},
                        {"HostResource", QStringLiteral("ovf:/disk/") + diskId(i)},
                        {"InstanceID", QString::number(id++)},
                        {"Parent", QString::number(firstChannel + s.disks[i].port)},
                        {"ResourceType", QString::number(DiskItem)}});
    for (const QString &adapter : s.adapters)
        writeItem(xml, {{"AutomaticAllocation", "true"},
                        {"Connection", adapter},
                        {"ElementName", QStringLiteral("Ethernet adapter on '%1'").arg(adapter)},
                        {"InstanceID", QString::number(id++)},
                        {"ResourceSubType", "E1000"},
                        {"ResourceType", QString::number(EthernetItem)}});
    xml.writeEndElement();
}

void writeEmpty(QXmlStreamWriter &xml, const QString &name,
                const QList<QPair<QString, QString>> &attributes = {})
{
    xml.writeStartElement(name);
    for (const auto &a : attributes)
        xml.writeAttribute(a.first, a.second);
    xml.writeEndElement();
}

// The machine in VirtualBox's own settings format, which VirtualBox imports in preference to
// the hardware section: without it the guest properties and the controller's name are lost.
void writeMachineSection(QXmlStreamWriter &xml, const VirtualSystem &s)
{
    xml.writeStartElement(VboxNs, QStringLiteral("Machine"));
    xml.writeAttribute(OvfNs, QStringLiteral("required"), QStringLiteral("false"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.16-linux"));
    xml.writeAttribute(QStringLiteral("uuid"), '{' + s.uuid + '}');
    xml.writeAttribute(QStringLiteral("name"), s.name);
    xml.writeAttribute(QStringLiteral("OSType"), s.osType);
    xml.writeAttribute(QStringLiteral("snapshotFolder"), QStringLiteral("Snapshots"));
    xml.writeTextElement(OvfNs, QStringLiteral("Info"),
                         QStringLiteral("Complete VirtualBox machine configuration in VirtualBox "
                                        "format"));
    xml.writeStartElement(QStringLiteral("Hardware"));
    writeEmpty(xml, QStringLiteral("CPU"), {{"count", QString::number(s.cpus)}});
    writeEmpty(xml, QStringLiteral("Memory"), {{"RAMSize", QString::number(s.memoryMB)}});
    if (s.usb) {
        xml.writeStartElement(QStringLiteral("USB"));
        xml.writeStartElement(QStringLiteral("Controllers"));
        writeEmpty(xml, QStringLiteral("Controller"), {{"name", "OHCI"}, {"type", "OHCI"}});
        xml.writeEndElement();
        xml.writeEndElement();
    }
    xml.writeStartElement(QStringLiteral("Network"));
    for (int slot = 0; slot < s.adapters.size(); ++slot) {
        xml.writeStartElement(QStringLiteral("Adapter"));
        xml.writeAttribute(QStringLiteral("slot"), QString::number(slot));
        xml.writeAttribute(QStringLiteral("enabled"), QStringLiteral("true"));
        xml.writeAttribute(QStringLiteral("type"), QStringLiteral("82540EM"));
        const QString &connection = s.adapters[slot];
        writeEmpty(xml,
                   connection == QLatin1String("HostOnly")  ? QStringLiteral("HostOnlyInterface")
                   : connection == QLatin1String("Bridged") ? QStringLiteral("BridgedInterface")
                                                            : QStringLiteral("NAT"));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    if (s.sound)
        writeEmpty(xml, QStringLiteral("AudioAdapter"), {{"enabled", "true"}});
    xml.writeStartElement(QStringLiteral("GuestProperties"));
    for (const GuestProperty &p : s.guestProperties) {
        xml.writeStartElement(QStringLiteral("GuestProperty"));
        xml.writeAttribute(QStringLiteral("name"), p.name);
        xml.writeAttribute(QStringLiteral("value"), p.value);
        xml.writeAttribute(QStringLiteral("timestamp"), QString::number(p.timestampNs));
        xml.writeAttribute(QStringLiteral("flags"), p.flags);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeStartElement(QStringLiteral("StorageControllers"));
    xml.writeStartElement(QStringLiteral("StorageController"));
    xml.writeAttribute(QStringLiteral("name"), s.controllerName);
    xml.writeAttribute(QStringLiteral("type"), s.controllerType);
    xml.writeAttribute(QStringLiteral("PortCount"), QStringLiteral("2"));
    xml.writeAttribute(QStringLiteral("useHostIOCache"), QStringLiteral("true"));
    xml.writeAttribute(QStringLiteral("Bootable"), QStringLiteral("true"));
    // VirtualBox pairs each attachment with the disk of the same vbox:uuid.
    for (const Disk &disk : s.disks) {
        xml.writeStartElement(QStringLiteral("AttachedDevice"));
        xml.writeAttribute(QStringLiteral("type"), QStringLiteral("HardDisk"));
        xml.writeAttribute(QStringLiteral("hotpluggable"), QStringLiteral("false"));
        xml.writeAttribute(QStringLiteral("port"), QString::number(disk.port));
        xml.writeAttribute(QStringLiteral("device"), QString::number(disk.device));
        writeEmpty(xml, QStringLiteral("Image"), {{"uuid", '{' + disk.uuid + '}'}});
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

void writeNetworkSection(QXmlStreamWriter &xml, const QStringList &adapters)
{
    xml.writeStartElement(OvfNs, QStringLiteral("NetworkSection"));
    xml.writeTextElement(OvfNs, QStringLiteral("Info"),
                         QStringLiteral("Logical networks used in the package"));
    QStringList networks = adapters;
    networks.removeDuplicates();
    for (const QString &network : networks) {
        xml.writeStartElement(OvfNs, QStringLiteral("Network"));
        xml.writeAttribute(OvfNs, QStringLiteral("name"), network);
        xml.writeTextElement(OvfNs, QStringLiteral("Description"),
                             QStringLiteral("Logical network used by this appliance."));
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

struct ItemFields
{
    QMap<QString, QString> values;
    int type() const { return values.value(QStringLiteral("ResourceType")).toInt(); }
};

} // namespace

QByteArray write(const VirtualSystem &s)
{
    QByteArray out;
    QXmlStreamWriter xml(&out);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeNamespace(OvfNs, QStringLiteral("ovf"));
    xml.writeNamespace(RasdNs, QStringLiteral("rasd"));
    xml.writeNamespace(VssdNs, QStringLiteral("vssd"));
    xml.writeNamespace(VboxNs, QStringLiteral("vbox"));
    xml.writeStartElement(OvfNs, QStringLiteral("Envelope"));
    xml.writeAttribute(OvfNs, QStringLiteral("version"), QStringLiteral("1.0"));
    xml.writeStartElement(OvfNs, QStringLiteral("References"));
    for (int i = 0; i < s.disks.size(); ++i) {
        xml.writeStartElement(OvfNs, QStringLiteral("File"));
        xml.writeAttribute(OvfNs, QStringLiteral("id"), QStringLiteral("file%1").arg(i + 1));
        xml.writeAttribute(OvfNs, QStringLiteral("href"), s.disks[i].fileName);
        if (s.disks[i].fileSize >= 0)
            xml.writeAttribute(OvfNs, QStringLiteral("size"), QString::number(s.disks[i].fileSize));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeStartElement(OvfNs, QStringLiteral("DiskSection"));
    xml.writeTextElement(OvfNs, QStringLiteral("Info"),
                         QStringLiteral("List of the virtual disks used in the package"));
    for (int i = 0; i < s.disks.size(); ++i) {
        xml.writeStartElement(OvfNs, QStringLiteral("Disk"));
        xml.writeAttribute(OvfNs, QStringLiteral("capacity"),
                           QString::number(s.disks[i].capacityBytes));
        xml.writeAttribute(OvfNs, QStringLiteral("diskId"), diskId(i));
        xml.writeAttribute(OvfNs, QStringLiteral("fileRef"), QStringLiteral("file%1").arg(i + 1));
        xml.writeAttribute(OvfNs, QStringLiteral("format"), VmdkFormat);
        xml.writeAttribute(VboxNs, QStringLiteral("uuid"), s.disks[i].uuid);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    writeNetworkSection(xml, s.adapters);
    xml.writeStartElement(OvfNs, QStringLiteral("VirtualSystem"));
    xml.writeAttribute(OvfNs, QStringLiteral("id"), s.name);
    xml.writeTextElement(OvfNs, QStringLiteral("Info"), QStringLiteral("A virtual machine"));
    xml.writeStartElement(OvfNs, QStringLiteral("OperatingSystemSection"));
    // The CIM codes of VirtualBox's Linux 2.6 types; the vbox:OSType below says more.
    xml.writeAttribute(OvfNs, QStringLiteral("id"),
                       s.osType.endsWith(QLatin1String("_64")) ? QStringLiteral("101")
                                                               : QStringLiteral("99"));
    xml.writeTextElement(OvfNs, QStringLiteral("Info"),
                         QStringLiteral("The kind of installed guest operating system"));
    xml.writeTextElement(VboxNs, QStringLiteral("OSType"), s.osType);
    xml.writeEndElement();
    writeHardware(xml, s);
    writeMachineSection(xml, s);
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return out;
}

bool read(const QByteArray &descriptor, VirtualSystem *s, QString *error)
{
    QXmlStreamReader xml(descriptor);
    QMap<QString, QString> fileHrefs; // file id to name
    QMap<QString, QString> diskFiles; // disk id to file id
    QMap<QString, qint64> capacities; // disk id to bytes
    QMap<QString, qint64> fileSizes;  // file id to bytes
    QString machineController;        // the name in the machine section, which VirtualBox uses
    QList<ItemFields> items;
    bool inItem = false;
    bool sawSystem = false;
    *s = VirtualSystem();
    s->sound = s->usb = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == QLatin1String("Item")) {
            inItem = false;
            continue;
        }
        if (!xml.isStartElement())
            continue;
        const auto attr = [&](const QString &name) {
            return xml.attributes().value(OvfNs, name).toString();
        };
        const QStringRef name = xml.name();
        if (name == QLatin1String("File")) {
            fileHrefs.insert(attr("id"), attr("href"));
            if (!attr("size").isEmpty())
                fileSizes.insert(attr("id"), attr("size").toLongLong());
        } else if (name == QLatin1String("Disk")) {
            diskFiles.insert(attr("diskId"), attr("fileRef"));
            capacities.insert(attr("diskId"), attr("capacity").toLongLong());
        } else if (name == QLatin1String("StorageController")) {
            machineController = xml.attributes().value("name").toString();
        } else if (name == QLatin1String("VirtualSystem")) {
            sawSystem = true;
            s->name = attr("id");
        } else if (name == QLatin1String("OSType")) {
            s->osType = xml.readElementText();
        } else if (name == QLatin1String("Item")) {
            inItem = true;
            items.append(ItemFields());
        } else if (inItem && xml.namespaceUri() == RasdNs) {
            const QString key = name.toString();
            items.last().values.insert(key, xml.readElementText());
        } else if (name == QLatin1String("GuestProperty")) {
            const QXmlStreamAttributes a = xml.attributes();
            s->guestProperties.append(
                GuestProperty{a.value("name").toString(), a.value("value").toString(),
                              a.value("timestamp").toLongLong(), a.value("flags").toString()});
        }
    }
    if (xml.hasError() || !sawSystem) {
        *error = xml.hasError() ? xml.errorString() : QStringLiteral("no virtual system");
        return false;
    }
    // Disks name their controller item as parent, which may come later in the list.
    QMap<QString, int> channelOfInstance;
    for (const ItemFields &item : items) {
        if (item.type() != IdeControllerItem)
            continue;
        channelOfInstance.insert(item.values.value(QStringLiteral("InstanceID")),
                                 item.values.value(QStringLiteral("Address")).toInt());
        s->controllerName = item.values.value(QStringLiteral("ElementName"));
        s->controllerType = item.values.value(QStringLiteral("ResourceSubType"));
    }
    if (!machineController.isEmpty())
        s->controllerName = machineController;
    for (const ItemFields &item : items) {
        const auto value = [&](const char *key) {
            return item.values.value(QLatin1String(key));
        };
        switch (item.type()) {
        case CpuItem:
            s->cpus = value("VirtualQuantity").toInt();
            break;
        case MemoryItem:
            s->memoryMB = value("VirtualQuantity").toInt();
            break;
        case EthernetItem:
            s->adapters.append(value("Connection"));
            break;
        case UsbItem:
            s->usb = true;
            break;
        case SoundItem:
            s->sound = true;
            break;
        case DiskItem: {
            const QString id = value("HostResource").section('/', -1);
            Ovf::Disk disk;
            disk.fileName = fileHrefs.value(diskFiles.value(id));
            disk.port = channelOfInstance.value(value("Parent"));
            disk.device = value("AddressOnParent").toInt();
            disk.capacityBytes = capacities.value(id);
            disk.fileSize = fileSizes.value(diskFiles.value(id), -1);
            s->disks.append(disk);
            break;
        }
        default:
            break;
        }
    }
    return true;
}

} // namespace VBoxSim::Ovf
