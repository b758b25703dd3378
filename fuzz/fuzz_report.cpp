// SPDX-License-Identifier: MIT

// Whatever bytes the values have, another parser accepts the report.
#include "Fuzz.h"
#include "ReportDocument.h"

#include <QString>

#include <libxml/parser.h>

void fuzzOne(const QByteArray &input)
{
    std::map<std::string, std::string> data;
    kestrun::reportDocument(data); // adds all keys
    const std::string value = input.toStdString();
    for (auto &entry : data)
        entry.second = value;
    const QByteArray xml = kestrun::reportDocument(data);

    xmlDoc *const document = xmlReadMemory(xml.constData(), static_cast<int>(xml.size()), nullptr,
                                           nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
    require(document);
    xmlFreeDoc(document);
    // No value can add an element of its own.
    require(xml.count("<IMEI>") == 1 && xml.count("</IPAddr>") == 1);
}
