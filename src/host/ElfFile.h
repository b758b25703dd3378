// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <optional>

/// What a shared library says of itself, read from the file without running any of it.
struct LibraryFacts
{
    QStringList exports;  ///< defined symbols, as they stand in the file
    QStringList needed;   ///< names of the libraries it needs
    QStringList searched; ///< its own search path, "$ORIGIN" resolved
};

/// Reads an ELF file; nothing if it is none, or this build cannot read any.
std::optional<LibraryFacts> readElf(const QString &file);
