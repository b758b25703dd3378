// SPDX-License-Identifier: MIT
#include "TestData.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

QStringList readLines(const QString &file)
{
    QFile in(TEST_DATA + file);
    if (!in.open(QIODevice::ReadOnly))
        qFatal("%s: %s", qPrintable(in.fileName()), qPrintable(in.errorString()));
    return QString::fromUtf8(in.readAll()).split('\n', Qt::SkipEmptyParts);
}

QString decoded(QString text)
{
    static const QRegularExpression code("\\\\(?:r|n|x(..)|u(....))");
    QRegularExpressionMatch match;
    for (qsizetype from = 0; (match = code.match(text, from)).hasMatch(); ++from) {
        from = match.capturedStart();
        const int number = (match.captured(1) + match.captured(2)).toInt(nullptr, 16);
        const QChar letter = text.at(from + 1);
        text.replace(from, match.capturedLength(),
                     QChar(letter == 'r'       ? '\r'
                               : letter == 'n' ? '\n'
                                               : number));
    }
    return text;
}

QString encoded(QString line)
{
    line.replace("\r", "\\r").replace("\n", "\\n");
    if (line.endsWith(' '))
        line.replace(line.size() - 1, 1, "\\x20");
    return line;
}

} // namespace

QList<QStringList> readTable(const char *table)
{
    QList<QStringList> rows;
    for (const QString &line : readLines(table)) {
        if (line.startsWith('#'))
            continue;
        QStringList cells;
        for (const QString &text : line.split('|'))
            cells << decoded(text.trimmed());
        rows << cells;
        if (cells.size() != rows.first().size())
            qFatal("%s: not as many cells as columns: %s", table, qPrintable(line));
    }
    return rows;
}

void addRows(const char *table)
{
    QList<QStringList> rows = readTable(table);
    // Qt Test keeps the pointers.
    static QByteArrayList names;
    for (const QString &column : rows.takeFirst())
        QTest::addColumn<QString>(names.emplaceBack(column.toUtf8()).constData());
    for (const QStringList &row : rows) {
        QTestData &data = QTest::newRow(qPrintable(encoded(row.first())));
        for (const QString &text : row)
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
        QFile out(TEST_DATA + file);
        QVERIFY2(out.open(QIODevice::WriteOnly), qPrintable(out.errorString()));
        out.write(actual.join('\n').toUtf8() + '\n');
        QFAIL("the file has been written anew; look at what has changed in it");
    }
    QCOMPARE(actual, readLines(file));
}
