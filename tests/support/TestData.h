// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// One row of a table below tests/data.
struct TableRow
{
    QStringList columns;
    QStringList cells;

    /// Returns the cell in the named column; an unknown name ends the program.
    QString operator[](const char *column) const;
};

/// Returns the rows of a table below tests/data. The first line names the columns, "|" separates
/// the cells, and blanks around a cell are ignored. A line that begins with "#" is a comment. The
/// escapes \r, \n, \xNN and \uNNNN have the meaning that they have in C.
QList<TableRow> readTable(const char *table);

/// Makes the rows of a table the rows of a test. The first cell of a row becomes its tag.
void addRows(const QList<TableRow> &rows);
void addRows(const char *table);

/// Returns the cell in the named column of the test's current row.
QString cell(const char *column);

/// Compares the lines with a file below tests/data, in which line breaks and trailing blanks are
/// escaped. If KESTRUN_REGENERATE is set in the environment, writes the file instead and fails.
void compareWithGolden(const QString &file, const QStringList &lines);

/// Returns the content of a file, or nothing if the file cannot be read.
QByteArray readFile(const QString &file);

/// Writes a file and creates the missing directories above it; fails the test on an error.
void writeFile(const QString &file, const QByteArray &content);
