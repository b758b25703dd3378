// SPDX-License-Identifier: MIT

// Whatever bytes the values have, another parser accepts the report, which conforms to its schema.
#include "Fuzz.h"
#include "ReportDocument.h"
#include "Schema.h"

#include <QString>

void fuzzOne(const QByteArray &input)
{
    std::map<std::string, std::string> data;
    kestrun::reportDocument(data); // adds all keys
    const std::string value = input.toStdString();
    for (auto &entry : data)
        entry.second = value;
    const QByteArray xml = kestrun::reportDocument(data);

    require(isValidReport(xml));
    // No value can add an element of its own.
    require(xml.count("<IMEI>") == 1 && xml.count("</IPAddr>") == 1);
}
