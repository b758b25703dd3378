// SPDX-License-Identifier: MIT
#pragma once

#include "Redactor.h"

#include <QList>
#include <QString>

#include <utility>

struct HandledEvent;

/// Has everything that is printed, and the log, be without identities from now on. What others
/// print to standard output and standard error is dropped. Called before anything is printed.
void setRedaction(Redactor::Extent extent);

/// Returns what makes the output redacted, or null if it is not.
Redactor *redactor();

/// Returns values of a card or a report as they may be shown: without identities, which are learnt,
/// if the output is redacted.
NamedValues presentable(const NamedValues &values);

/// Returns the event with such values of card and report.
HandledEvent presentable(HandledEvent event);

/// Has print() write to a file instead of standard output; the first one replaces what the file
/// has. Throws Failure if it cannot be written.
void setOutputFile(const QString &file);

/// With true, printNote() shows nothing.
void setQuiet(bool quiet);
bool isQuiet();

enum class Color { Red = 31, Green = 32, Yellow = 33, Cyan = 36 };

/// Returns the text in a colour, or without one unless print() writes to a terminal. The variable
/// NO_COLOR switches colours off.
QString colored(const QString &text, Color color);

/// Writes UTF-8 to standard output, without a buffer.
void print(const QString &text);

/// As print(), for a text that presentable() has made free of identities.
void printPresentable(const QString &text);

/// Returns the descriptor to which print() writes.
int outputDescriptor();

/// Returns the user's standard error, to which STDERR_FILENO may no longer lead.
int errorDescriptor();

/// Throws Failure if an earlier print() could not write everything. A reader that closed its end of
/// a pipe is no failure.
void requirePrinted();

/// Writes a line that is not an error to standard error.
void printNote(const QString &line);

/// Writes one or more lines to standard error, with control characters as visible() shows them.
void printError(const QString &text);

/// Returns two aligned columns with one line for each row. Control characters of the second column
/// become "\NNN", in octal.
QString table(const QList<std::pair<QString, QString>> &rows);
