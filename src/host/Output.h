// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

/// Writes UTF-8 to standard output at once.
void print(const QString &text);

/// Throws Failure if any of the standard output could not be written.
void requirePrinted();

/// Writes one line to standard error.
void printError(const QString &line);

/// Two aligned columns, a line for each row. Control characters are shown as "\NNN", in octal.
QString table(const QList<std::pair<QString, QString>> &rows);
