// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

/// Writes UTF-8 to standard output, without a buffer.
void print(const QString &text);

/// Throws Failure if an earlier print() could not write everything. A reader that closed its end of
/// a pipe is no failure.
void requirePrinted();

/// Returns the text with each control character as "\NNN", in octal: a text from outside must not
/// control the terminal.
QString visible(const QString &text);

/// Writes one line to standard error.
void printError(const QString &line);

/// Returns two aligned columns with one line for each row. Control characters of the second column
/// become "\NNN", in octal.
QString table(const QList<std::pair<QString, QString>> &rows);
