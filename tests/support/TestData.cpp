// SPDX-License-Identifier: MIT
#include "TestData.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>

namespace {

const QString kData = TEST_DATA;

// Tests see the same environment whoever runs them: settings of Qt, of the desktop, of the locale
// and the user's file mask would change logs, messages and permissions. Done before main(), so that
// Qt has not read any of them; child processes inherit it.
const bool s_environmentIsSet = [] {
    static const QRegularExpression setting("^(QT_|XDG_|LC_|LANG)");
    for (const QString &name : QProcessEnvironment::systemEnvironment().keys().filter(setting))
        qunsetenv(qPrintable(name));
    umask(022);
    return qputenv("LC_ALL", "C.UTF-8");
}();

QStringList readLines(const QString &file)
{
    const QByteArray content = readFile(kData + file);
    if (content.isEmpty())
        qFatal("%s cannot be read or is empty", qPrintable(kData + file));
    return QString::fromUtf8(content).split('\n', Qt::SkipEmptyParts);
}

// Has the JSON parser decode the escapes; it does not know \xNN.
QString decoded(QString text)
{
    static const QRegularExpression byte("\\\\x(..)");
    text.replace('"', "\\\"").replace(byte, "\\u00\\1");
    const auto json = QJsonDocument::fromJson("[\"" + text.toUtf8() + "\"]");
    if (json.isNull())
        qFatal("Not a text with escapes: %s", qPrintable(text));
    return json[0].toString();
}

QString encoded(QString line)
{
    line.replace("\r", "\\r").replace("\n", "\\n");
    if (line.endsWith(' '))
        line.replace(line.size() - 1, 1, "\\x20");
    return line;
}

} // namespace

QString TableRow::operator[](const char *column) const
{
    const qsizetype index = columns.indexOf(QString(column));
    if (index < 0)
        qFatal("There is no column \"%s\" in \"%s\"", column, qPrintable(columns.join('|')));
    return cells[index];
}

QList<TableRow> readTable(const char *table)
{
    QStringList columns;
    QList<TableRow> rows;
    for (const QString &line : readLines(table)) {
        if (line.startsWith('#'))
            continue;
        QStringList cells;
        for (const QString &text : line.split('|'))
            cells << decoded(text.trimmed());
        if (columns.isEmpty())
            columns = cells;
        else
            rows.append({columns, cells});
        if (cells.size() != columns.size())
            qFatal("%s: not as many cells as columns: %s", table, qPrintable(line));
    }
    return rows;
}

void addRows(const char *table)
{
    addRows(readTable(table));
}

void addRows(const QList<TableRow> &rows)
{
    // Qt Test keeps the pointers.
    static QByteArrayList names;
    for (const QString &column : rows.first().columns)
        QTest::addColumn<QString>(names.emplaceBack(column.toUtf8()).constData());
    for (const TableRow &row : rows) {
        QTestData &data = QTest::newRow(qPrintable(encoded(row.cells.first())));
        for (const QString &text : row.cells)
            data << text;
    }
}

QString cell(const char *column)
{
    return *static_cast<QString *>(QTest::qData(column, QMetaType::QString));
}

void compareWithGolden(const QString &file, const QStringList &lines)
{
    QStringList actual;
    for (const QString &line : lines)
        actual << encoded(line);
    if (qEnvironmentVariableIsSet("KESTRUN_REGENERATE")) {
        writeFile(kData + file, actual.join('\n').toUtf8() + '\n');
        QFAIL("The file was regenerated; check its differences");
    }
    QCOMPARE(actual, readLines(file));
}

QByteArray readFile(const QString &file)
{
    QFile in(file);
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

void writeFile(const QString &file, const QByteArray &content)
{
    QFile out(file);
    QVERIFY(QDir().mkpath(QFileInfo(file).path()));
    QVERIFY2(out.open(QIODevice::WriteOnly), qPrintable(out.errorString()));
    QCOMPARE(out.write(content), content.size());
}
