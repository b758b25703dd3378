// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <map>
#include <string>

namespace kestrun {

/// "UpdateRule.dat" as UTF-8 XML, of the values in `data`, whose bytes are Latin-1. Every element
/// is there, an empty one as a start tag directly followed by its end tag. A key that is missing in
/// `data` reads as empty and is added. Bytes that no XML document can hold become U+FFFD.
QByteArray reportDocument(std::map<std::string, std::string> &data);

} // namespace kestrun
