// SPDX-License-Identifier: MIT
#include "ReportDocument.h"

#include <QXmlStreamWriter>

namespace kestrun {

namespace {

enum class Item { Begin, Value, Empty, End };

struct Element
{
    Item item;
    const char *name = nullptr;
    const char *key = nullptr; // of the value
};

// The children of `Client`, in order. Readers of the report rely on the nesting: the identities
// are directly below `Client`, and all other values below `Command`.
constexpr Element kElements[] = {
    {Item::Empty, "Time"},
    {Item::Value, "IMEI", "Device_IMEI"},
    {Item::Value, "SN", "Device_SN"},
    {Item::Value, "ESN", "Device_ESN"},
    {Item::Value, "MEID", "Device_MEID"},
    {Item::Value, "IMSI", "Device_IMSI"},
    {Item::Begin, "Command"},
    {Item::Empty, "Trigger"},
    {Item::Begin, "Device"},
    {Item::Value, "Model", "Device_Model"},
    {Item::Value, "Classify", "Device_Classify"},
    {Item::Value, "ProductFamily", "Device_ProductFamily"},
    {Item::Value, "DverPc", "Device_DverPc"},
    {Item::Value, "DverCD", "Device_DverCD"},
    {Item::Value, "Fver", "Device_Fver"},
    {Item::Value, "Hver", "Device_Hver"},
    {Item::Value, "SmsTriggerState", "Device_SmsTrigger"},
    {Item::End},
    {Item::Begin, "System"},
    {Item::Begin, "OS"},
    {Item::Value, "PlatForm", "System_Os_Platform"},
    {Item::Value, "Name", "System_Os_Name"},
    {Item::Value, "Version", "System_Os_Version"},
    {Item::Value, "Language", "System_Os_Language"},
    {Item::End},
    {Item::End},
    {Item::Begin, "Network"},
    {Item::Value, "AcT", "Network_AcT"},
    {Item::Value, "PLMN", "Network_PLMN"},
    {Item::Value, "Lac", "Network_Lac"},
    {Item::Value, "CellID", "Network_CellID"},
    {Item::Value, "IPAddr", "Network_IPAddr"},
    {Item::End},
    {Item::End},
};

// Converts Latin-1 to a text that XML 1.0 permits.
QString xmlText(const std::string &bytes)
{
    QString text = QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    for (QChar &character : text) {
        const bool allowed = character >= u' ' || character == u'\t' || character == u'\n'
            || character == u'\r';
        if (!allowed)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

void writeElement(QXmlStreamWriter &xml, const Element &element,
                  std::map<std::string, std::string> &data)
{
    switch (element.item) {
    case Item::Begin:
        xml.writeStartElement(QLatin1String(element.name));
        // The only attribute below the root. It is always empty.
        if (qstrcmp(element.name, "Command") == 0)
            xml.writeAttribute(QStringLiteral("Type"), QString());
        return;
    case Item::Value:
        xml.writeTextElement(QLatin1String(element.name), xmlText(data[element.key]));
        return;
    case Item::Empty:
        xml.writeTextElement(QLatin1String(element.name), QString());
        return;
    case Item::End:
        xml.writeEndElement();
        return;
    }
}

} // namespace

QByteArray reportDocument(std::map<std::string, std::string> &data)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("Client"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("V1.0"));
    xml.writeAttribute(QStringLiteral("entity"), QStringLiteral("Agent"));
    for (const Element &element : kElements)
        writeElement(xml, element, data);
    xml.writeEndElement();
    xml.writeEndDocument();
    return document;
}

} // namespace kestrun
