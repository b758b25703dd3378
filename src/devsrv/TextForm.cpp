// SPDX-License-Identifier: MIT
#include "TextForm.h"

#include <cstdio>

namespace devsrv {

namespace {

std::string escaped(char16_t unit)
{
    switch (unit) {
    case u'\r':
        return "\\r";
    case u'\n':
        return "\\n";
    case u'"':
        return "\\\"";
    case u'\\':
        return "\\\\";
    }
    if (unit >= 0x20 && unit < 0x7f)
        return {static_cast<char>(unit)};
    char form[8];
    // Three octal digits: "\xe9" would take a following "a" in as a further digit.
    std::snprintf(form, sizeof form, unit < 0x100 ? "\\%03o" : "\\u%04x", unsigned{unit});
    return form;
}

} // namespace

std::string inQuotes(std::u16string_view text)
{
    std::string form = "\"";
    for (const char16_t unit : text)
        form += escaped(unit);
    return form + '"';
}

std::string inQuotes(std::string_view bytes)
{
    std::u16string text;
    for (const char byte : bytes)
        text += static_cast<unsigned char>(byte);
    return inQuotes(text);
}

} // namespace devsrv
