// SPDX-License-Identifier: MIT
#include "Schema.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <memory>

namespace {

template <auto release>
struct Release
{
    template <typename T>
    void operator()(T *object) const
    {
        release(object);
    }
};
using Parser = std::unique_ptr<xmlSchemaParserCtxt, Release<xmlSchemaFreeParserCtxt>>;
using Schema = std::unique_ptr<xmlSchema, Release<xmlSchemaFree>>;
using Validator = std::unique_ptr<xmlSchemaValidCtxt, Release<xmlSchemaFreeValidCtxt>>;
using Document = std::unique_ptr<xmlDoc, Release<xmlFreeDoc>>;

// Without a function, libxml2 writes its messages to standard error.
void discard(void *, const char *, ...) {}

// Read before a test can drop the right to read it.
const Schema s_schema(xmlSchemaParse(Parser(xmlSchemaNewParserCtxt(REPORT_SCHEMA)).get()));

} // namespace

bool isValidReport(const QByteArray &report)
{
    if (!s_schema)
        qFatal("%s is not a schema", REPORT_SCHEMA);
    const Document document(xmlReadMemory(report.constData(), int(report.size()), nullptr, nullptr,
                                          XML_PARSE_NONET | XML_PARSE_NOERROR));
    const Validator validator(xmlSchemaNewValidCtxt(s_schema.get()));
    xmlSchemaSetValidErrors(validator.get(), discard, nullptr, nullptr);
    return document && xmlSchemaValidateDoc(validator.get(), document.get()) == 0;
}
