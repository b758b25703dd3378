// SPDX-License-Identifier: MIT
#pragma once

#include "Redactor.h"

#include <QStringList>

#include <optional>

/// An option of the command line.
struct Option
{
    const char *name;
    const char *value; ///< the name of the value in the help; null for an option without a value
    const char *help;
};

// The options for HostOptions.
inline constexpr Option kSdkOption = {"sdk", "FILE", "The device-service library to load."};
inline constexpr Option kPluginOption = {"plugin", "FILE", "The plug-in to load."};
inline constexpr Option kCardOption = {
    "card", "CARD",
    "A shipped card, a card file, or a backend with its argument; \"kestrun cards\" lists them."};
inline constexpr Option kRootOption = {
    "root", "DIR",
    "Use DIR in place of \"/\" and of the working directory; DIR is prepared on first use."};

inline constexpr Option kRedactOption = {
    "redact", nullptr,
    "Replace identities in all output by made-up ones; --redact=all keeps no part of them."};

/// Returns the extent if --redact is among the arguments. "--redact=all" becomes "--redact", which
/// parsers know without a value.
std::optional<Redactor::Extent> takeRedaction(QStringList &arguments);
