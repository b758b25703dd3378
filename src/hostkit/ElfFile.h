// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <optional>

/// The exports and dependencies of a shared library, read from its file without running its code.
struct LibraryFacts
{
    QString machine;      ///< processor and word size, for example "x86-64, 64 bits"
    QString soname;       ///< the name by which other libraries need it
    QStringList exports;  ///< names of the defined symbols, not demangled
    QStringList needed;   ///< names of the libraries that it needs
    QStringList searched; ///< its own search path, "$ORIGIN" resolved
};

/// Reads an ELF file. Returns nothing if it is not one, or if this build has no libelf.
std::optional<LibraryFacts> readElf(const QString &file);
