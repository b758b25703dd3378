// SPDX-License-Identifier: MIT

// Feeds what a port delivers to the line reader and each line to every function of the parser: what
// these accept has the form that their callers rely on.
#include "Fuzz.h"
#include "serial/AtParser.h"
#include "serial/LineReader.h"

#include <algorithm>

using namespace devsrv;

namespace {

bool isHex(const std::string &text, std::size_t maxDigits)
{
    return text.size() <= maxDigits && (text == "0" || !text.starts_with('0'))
        && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

bool isDigits(const std::string &text)
{
    return text.find_first_not_of("0123456789") == std::string::npos;
}

void checkRegistration(const std::string &line, bool asked)
{
    const auto registration = registrationLine(line, asked);
    if (!registration)
        return;
    require(registration->state >= 0 && registration->state <= 10);
    require(registration->lac.empty() == registration->ci.empty());
    require(isHex(registration->lac, 8) && isHex(registration->ci, 10));
    require(registration->lac != "0" && registration->lac != "FFFE");
    require(registration->act.value_or(0) <= 13);
}

void checkLine(const std::string &line)
{
    require(!line.empty() && line.size() <= LineReader::kMaxLine);
    require(line.find_first_of(std::string("\0\r\n", 3)) == std::string::npos);
    for (const bool asked : {false, true})
        checkRegistration(line, asked);
    if (const auto found = operatorOf({line}))
        require(isDigits(found->plmn) && (found->plmn.empty() || found->plmn.size() >= 5));
    if (const auto number = digits({line}, 14, 16))
        require(isDigits(*number) && number->size() >= 14 && number->size() <= 16);
    for (const bool isUcs2 : {false, true}) {
        for (const std::string &number : ownNumbers({line}, isUcs2))
            require(number.find_first_not_of("0123456789+*#") == std::string::npos);
    }
    if (const auto text = textValue({line}))
        require(!text->empty() && std::all_of(text->begin(), text->end(), [](char c) {
            return c >= ' ' && c <= '~';
        }));
    const CdmaIdentity identity = cdmaIdentityOf({line});
    require(identity.esn.empty() || identity.meid.empty());
    if (kindOf(line) != LineKind::Information)
        require(!isUnsolicited(line, "AT+CSQ") || line.starts_with("+CM"));
    isKnownUnsolicited(line, line);
    isFollowedByMessage(line);
    isHarmful(line);
    isQuery(line);
    cmeError(line);
    cmsError(line);
    simState(line);
    isLockEnabled({line});
    productTypeOf({line}, {line});
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    LineReader whole;
    LineReader pieces;
    whole.feed(input.toStdString());
    for (const char byte : input)
        pieces.feed({&byte, 1});
    require(whole.isAtPrompt() == pieces.isAtPrompt());
    while (const auto line = whole.next()) {
        require(pieces.next() == line);
        checkLine(*line);
    }
    require(!pieces.next());
}
