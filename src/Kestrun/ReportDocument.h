// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <map>
#include <string>

namespace kestrun {

/// Returns the content of "UpdateRule.dat": UTF-8 XML with the values in `data`, which are Latin-1.
/// The document always has all elements; an empty one is a start tag directly followed by its end
/// tag. A key that is missing in `data` is added with an empty value. Characters that XML does not
/// permit become U+FFFD.
QByteArray reportDocument(std::map<std::string, std::string> &data);

} // namespace kestrun
