// SPDX-License-Identifier: MIT
#include "ReportCheck.h"

#include <QFile>
#include <QXmlStreamReader>

#include <optional>
#include <utility>

namespace {

// An element as the schema declares it. An element without children has text.
struct Declaration
{
    QString name;
    std::optional<QString> fixedText;
    QList<std::pair<QString, QString>> attributes; // all have one fixed value
    QList<Declaration> children;
};

// Reads up to the end of the element on whose start the reader stands.
Declaration readDeclaration(QXmlStreamReader &schema)
{
    const auto value = [&](const char *attribute) {
        return schema.attributes().value(QLatin1String(attribute)).toString();
    };
    Declaration declared{value("name"), {}, {}, {}};
    if (schema.attributes().hasAttribute(QLatin1String("fixed")))
        declared.fixedText = value("fixed");
    while (!schema.atEnd()) {
        schema.readNext();
        const bool isElement = schema.name() == QLatin1String("element");
        if (schema.isEndElement() && isElement)
            break;
        if (schema.isStartElement() && isElement)
            declared.children.append(readDeclaration(schema));
        else if (schema.isStartElement() && schema.name() == QLatin1String("attribute"))
            declared.attributes.append({value("name"), value("fixed")});
    }
    return declared;
}

Declaration readSchema()
{
    QFile file(QStringLiteral(":/kestrun/report.xsd"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The schema of the report is not part of this build");
    QXmlStreamReader schema(&file);
    while (!schema.isStartElement() || schema.name() != QLatin1String("element"))
        schema.readNext();
    return readDeclaration(schema);
}

void addFields(QStringList &fields, const Declaration &declared, const QString &parent)
{
    const QString path = parent + declared.name;
    if (declared.children.isEmpty())
        fields << path;
    for (const Declaration &child : declared.children)
        addFields(fields, child, path + u'/');
}

QString quoted(const QStringView text)
{
    return u'"' + text.toString() + u'"';
}

// Reads one report, and stops at the first fault.
class Check
{
public:
    explicit Check(const QByteArray &report) : m_report(report) {}

    QString fault()
    {
        const Declaration root = readSchema();
        if (readTag() && checkElement(root))
            readTag(); // finds what follows the root
        return m_fault;
    }

private:
    // The reader stands on the start of an element or on the end of the parent.
    bool checkElement(const Declaration &declared)
    {
        const QString name = quoted(declared.name);
        if (!m_report.isStartElement())
            return fail(QStringLiteral("the element %1 is missing").arg(name));
        if (m_report.name() != declared.name)
            return fail(QStringLiteral("the element %1 is expected instead of %2")
                            .arg(name, quoted(m_report.name())));
        return checkAttributes(declared)
            && (declared.children.isEmpty() ? checkText(declared) : checkChildren(declared));
    }

    bool checkAttributes(const Declaration &declared)
    {
        const QXmlStreamAttributes found = m_report.attributes();
        for (const auto &[attribute, value] : declared.attributes) {
            if (!found.hasAttribute(attribute) || found.value(attribute) != value)
                return fail(QStringLiteral("the element \"%1\" needs the attribute %2=\"%3\"")
                                .arg(declared.name, attribute, value));
        }
        if (found.size() > declared.attributes.size())
            return fail(
                QStringLiteral("the element \"%1\" has too many attributes").arg(declared.name));
        return true;
    }

    bool checkText(const Declaration &declared)
    {
        const QString text = m_report.readElementText();
        if (m_report.error() == QXmlStreamReader::UnexpectedElementError)
            return fail(QStringLiteral("the element \"%1\" takes only text").arg(declared.name));
        if (m_report.hasError())
            return failAsParser();
        if (declared.fixedText && text != *declared.fixedText)
            return fail(QStringLiteral("the element \"%1\" has to be empty").arg(declared.name));
        return true;
    }

    bool checkChildren(const Declaration &declared)
    {
        for (const Declaration &child : declared.children) {
            if (!readTag() || !checkElement(child))
                return false;
        }
        if (!readTag())
            return false;
        if (m_report.isStartElement())
            return fail(QStringLiteral("there is no element %1 in \"%2\" at this place")
                            .arg(quoted(m_report.name()), declared.name));
        return true;
    }

    // Reads the next start or end of an element, or up to the end of the document.
    bool readTag()
    {
        while (!m_report.atEnd()) {
            m_report.readNext();
            if (m_report.isStartElement() || m_report.isEndElement())
                return true;
            if (m_report.isCharacters() && !m_report.isWhitespace())
                return fail(QStringLiteral("there is text between the elements"));
        }
        return !m_report.hasError() || failAsParser();
    }

    bool failAsParser()
    {
        return fail(QStringLiteral("the XML is not well-formed: ") + m_report.errorString());
    }

    bool fail(const QString &what)
    {
        m_fault = QStringLiteral("line %1, column %2: ")
                      .arg(m_report.lineNumber())
                      .arg(m_report.columnNumber())
            + what;
        return false;
    }

    QXmlStreamReader m_report;
    QString m_fault;
};

} // namespace

QString reportFault(const QByteArray &report)
{
    return Check(report).fault();
}

QStringList reportFields()
{
    QStringList fields;
    addFields(fields, readSchema(), {});
    return fields;
}
