// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// The lines of a table below tests/data, cell by cell; the first one names the columns. Cells are
/// separated by "|", blanks around them do not count, "#" begins a comment line, and \r, \n, \xNN
/// and \uNNNN stand for the characters that they are in C.
QList<QStringList> readTable(const char *table);

/// Makes the lines of a table the rows of a test, tagged by their first cell.
void addRows(const char *table);

/// A cell of the current row.
QString cell(const char *column);

/// Compares with a file below tests/data, which has line breaks and blanks at line ends as escapes.
/// With KESTRUN_REGENERATE in the environment it writes the file instead, and fails.
void compareWithGolden(const QString &file, const QStringList &lines);
