// SPDX-License-Identifier: MIT
#include "AtParser.h"

#include "CardValues.h"
#include "LineReader.h"
#include "shared/RegistrationState.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace devsrv {

namespace {

constexpr std::string_view kNameMarks = "+^*$%#&_!";

struct CmeError
{
    int number;
    std::string_view words; // as cards write it that ignore AT+CMEE=1
    SimState sim;
};

constexpr SimState kAbsent{MM_MODEM_LOCK_UNKNOWN, true};

// The errors that say something about the SIM. Others have no row.
constexpr CmeError kCmeErrors[] = {
    {5, "PH-SIM PIN required", {MM_MODEM_LOCK_PH_SIM_PIN}},
    {6, "PH-FSIM PIN required", {MM_MODEM_LOCK_PH_FSIM_PIN}},
    {7, "PH-FSIM PUK required", {MM_MODEM_LOCK_PH_FSIM_PUK}},
    {10, "SIM not inserted", kAbsent},
    {11, "SIM PIN required", {MM_MODEM_LOCK_SIM_PIN}},
    {12, "SIM PUK required", {MM_MODEM_LOCK_SIM_PUK}},
    {13, "SIM failure", kAbsent},
    {14, "SIM busy", {}},
    {15, "SIM wrong", kAbsent},
    {17, "SIM PIN2 required", {MM_MODEM_LOCK_SIM_PIN2}},
    {18, "SIM PUK2 required", {MM_MODEM_LOCK_SIM_PUK2}},
    {40, "network personalisation PIN required", {MM_MODEM_LOCK_PH_NET_PIN}},
    {41, "network personalisation PUK required", {MM_MODEM_LOCK_PH_NET_PUK}},
    {42, "network subset personalisation PIN required", {MM_MODEM_LOCK_PH_NETSUB_PIN}},
    {43, "network subset personalisation PUK required", {MM_MODEM_LOCK_PH_NETSUB_PUK}},
    {44, "service provider personalisation PIN required", {MM_MODEM_LOCK_PH_SP_PIN}},
    {45, "service provider personalisation PUK required", {MM_MODEM_LOCK_PH_SP_PUK}},
    {46, "corporate personalisation PIN required", {MM_MODEM_LOCK_PH_CORP_PIN}},
    {47, "corporate personalisation PUK required", {MM_MODEM_LOCK_PH_CORP_PUK}},
};

struct NamedSimState
{
    std::string_view name;
    SimState sim;
};

constexpr NamedSimState kSimStates[] = {
    {"READY", {MM_MODEM_LOCK_NONE}},
    {"SIM PIN", {MM_MODEM_LOCK_SIM_PIN}},
    {"SIM PIN2", {MM_MODEM_LOCK_SIM_PIN2}},
    {"SIM PUK", {MM_MODEM_LOCK_SIM_PUK}},
    {"SIM PUK2", {MM_MODEM_LOCK_SIM_PUK2}},
    {"PH-SP PIN", {MM_MODEM_LOCK_PH_SP_PIN}},
    {"PH-SP PUK", {MM_MODEM_LOCK_PH_SP_PUK}},
    {"PH-NET PIN", {MM_MODEM_LOCK_PH_NET_PIN}},
    {"PH-NET PUK", {MM_MODEM_LOCK_PH_NET_PUK}},
    {"PH-SIM PIN", {MM_MODEM_LOCK_PH_SIM_PIN}},
    {"PH-CORP PIN", {MM_MODEM_LOCK_PH_CORP_PIN}},
    {"PH-CORP PUK", {MM_MODEM_LOCK_PH_CORP_PUK}},
    {"PH-FSIM PIN", {MM_MODEM_LOCK_PH_FSIM_PIN}},
    {"PH-FSIM PUK", {MM_MODEM_LOCK_PH_FSIM_PUK}},
    {"PH-NETSUB PIN", {MM_MODEM_LOCK_PH_NETSUB_PIN}},
    {"PH-NETSUB PUK", {MM_MODEM_LOCK_PH_NETSUB_PUK}},
    {"NOT INSERTED", kAbsent},
    {"NOT READY", kAbsent},
};

struct CmsError
{
    int number;
    const char *name;
};

constexpr CmsError kCmsErrors[] = {
    {1, "unassigned number"},
    {8, "operator determined barring"},
    {10, "call barred"},
    {21, "short message transfer rejected"},
    {27, "destination out of service"},
    {28, "unidentified subscriber"},
    {29, "facility rejected"},
    {30, "unknown subscriber"},
    {38, "network out of order"},
    {41, "temporary failure"},
    {42, "congestion"},
    {47, "resources unavailable"},
    {50, "requested facility not subscribed"},
    {69, "requested facility not implemented"},
    {300, "failure of the card"},
    {302, "operation not allowed"},
    {303, "operation not supported"},
    {304, "invalid parameter of the message"},
    {310, "no SIM"},
    {311, "the SIM needs its PIN"},
    {313, "failure of the SIM"},
    {314, "the SIM is busy"},
    {316, "the SIM needs its PUK"},
    {330, "the number of the message centre is unknown"},
    {331, "no network service"},
    {332, "network time-out"},
    {500, "unknown error"},
};

// Lines that cards send at any time, besides those of registration and SIM.
constexpr std::string_view kUnsolicitedNames[] = {
    "+CREG", "+CGREG", "+CEREG", "+C5GREG", "+CPIN", "+CMTI", "+CMT",  "+CDSI",
    "+CDS",  "+CBM",   "+CRING", "+CLIP",   "+CUSD", "+CIEV", "+CGEV",
};

constexpr std::string_view kMessageNames[] = {"+CMT", "+CDS", "+CBM"};

struct Technology
{
    int number;
    SystemInfo info;
};

// A listener takes LTE's variants for machines, on a 5G core and beside NR for LTE. NR alone has
// no name there.
constexpr Technology kTechnologies[] = {
    {0, {SYSTEM_MODE_GSM, SUB_MODE_GSM}},     {1, {SYSTEM_MODE_GSM, SUB_MODE_GSM}},
    {2, {SYSTEM_MODE_WCDMA, SUB_MODE_WCDMA}}, {3, {SYSTEM_MODE_GSM, SUB_MODE_EDGE}},
    {4, {SYSTEM_MODE_WCDMA, SUB_MODE_HSDPA}}, {5, {SYSTEM_MODE_WCDMA, SUB_MODE_HSUPA}},
    {6, {SYSTEM_MODE_WCDMA, SUB_MODE_HSPA}},  {7, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {8, {SYSTEM_MODE_GSM, SUB_MODE_GSM}},     {9, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
    {10, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},    {13, {SYSTEM_MODE_LTE, SUB_MODE_LTE}},
};
constexpr int kLastTechnology = 13;

constexpr int kLastRegistrationState = shared::kRegistrationStates - 1;
constexpr int kLastReportMode = 5;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

template <typename Test>
bool all(std::string_view text, Test test)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), test);
}

bool isPrintable(char c)
{
    return std::isprint(static_cast<unsigned char>(c)) != 0;
}

std::string upper(std::string_view text)
{
    std::string result(text);
    for (char &c : result)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

template <typename List>
bool contains(const List &list, std::string_view text)
{
    return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

// A decimal number with at most three digits, leading zeros included.
std::optional<int> smallNumber(const Field &field, int most)
{
    if (field.text.size() > 3 || !all(field.text, isDigit))
        return std::nullopt;
    int number = 0;
    std::from_chars(field.text.data(), field.text.data() + field.text.size(), number);
    return number <= most ? std::optional(number) : std::nullopt;
}

// A hexadecimal number, upper case without leading zeros.
std::optional<std::string> hexNumber(const Field &field, std::size_t maxDigits = 8)
{
    if (!all(field.text, isHexDigit))
        return std::nullopt;
    const std::size_t first = std::min(field.text.find_first_not_of('0'), field.text.size() - 1);
    if (field.text.size() - first > maxDigits)
        return std::nullopt;
    return upper(std::string_view(field.text).substr(first));
}

// Whether the second field of a registration line is the state, after a report mode. In an
// unsolicited line it is the area.
bool hasReportMode(const std::vector<Field> &fields, bool asked)
{
    if (fields.size() < 2 || fields[1].isQuoted || !smallNumber(fields[1], kLastRegistrationState)
        || !smallNumber(fields[0], kLastReportMode))
        return false;
    if (asked || fields.size() == 2)
        return true;
    const bool isAreaNext = fields[2].isQuoted || fields[2].text.empty();
    const bool isCellNext = fields.size() > 3 && (fields[3].isQuoted || fields[3].text.size() > 2);
    return isAreaNext || isCellNext;
}

// Whether the state after a report mode cannot be read. The report mode is no state.
bool hasUnreadableState(const std::vector<Field> &fields, bool asked)
{
    if (fields.size() < 2 || fields[1].isQuoted || fields[1].text.empty())
        return false;
    return fields.size() == 2 || (asked && !hexNumber(fields[1]));
}

// Digits that are written as UCS2 in hexadecimal, as they are; any other text unchanged.
std::string withoutUcs2(const std::string &text)
{
    if (text.size() % 4 != 0)
        return text;
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); at += 4) {
        int unit = 0;
        const auto [end, error] = std::from_chars(&text[at], &text[at] + 4, unit, 16);
        if (error != std::errc() || end != &text[at] + 4 || unit < ' ' || unit > '~')
            return text;
        decoded += static_cast<char>(unit);
    }
    return decoded;
}

bool isPhoneNumber(std::string_view text)
{
    return all(text, [](char c) { return isDigit(c) || c == '+' || c == '*' || c == '#'; });
}

constexpr int kFirstNumberType = 128;

} // namespace

LineKind kindOf(std::string_view line)
{
    if (line == "OK")
        return LineKind::Ok;
    if (line == "ERROR" || line.starts_with("+CME ERROR") || line.starts_with("+CMS ERROR")
        || line == "COMMAND NOT SUPPORT")
        return LineKind::Error;
    constexpr std::string_view kCallResults[] = {"NO CARRIER", "BUSY", "NO ANSWER", "NO DIALTONE"};
    if (contains(kCallResults, line) || line.starts_with("CONNECT"))
        return LineKind::CallResult;
    return LineKind::Information;
}

std::string_view nameOf(std::string_view line)
{
    if (line.empty() || kNameMarks.find(line.front()) == std::string_view::npos)
        return {};
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return {};
    const std::string_view name = line.substr(0, colon);
    const auto isNameCharacter = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    };
    return all(name.substr(1), isNameCharacter) ? name : std::string_view();
}

bool isUnsolicited(std::string_view line, std::string_view command)
{
    const std::string_view name = nameOf(line);
    return line == "RING" || (!name.empty() && command.find(name) == std::string_view::npos);
}

bool isKnownUnsolicited(std::string_view line, std::string_view command)
{
    return isUnsolicited(line, command)
        && (line == "RING" || contains(kUnsolicitedNames, nameOf(line)));
}

bool isFollowedByMessage(std::string_view line)
{
    return contains(kMessageNames, nameOf(line));
}

bool isHarmful(std::string_view command)
{
    std::string text = upper(command);
    std::erase(text, ' ');
    constexpr std::string_view kHarmful[] = {
        "+COPS=?", "+COPS=0", "+COPS=1",   "+COPS=2", "+COPS=4", "+CFUN=0", "+CFUN=4",
        "+CPIN=",  "+CPIN2=", "+CPWD=",    "+CLCK=",  "+CMGD",   "+CMGW",   "+CPBW",
        "&W",      "&F",      "+CGDCONT=", "+CSAS",   "ATZ",     "ATD"};
    return std::any_of(std::begin(kHarmful), std::end(kHarmful), [&](std::string_view harmful) {
        return text.find(harmful) != std::string::npos;
    });
}

bool isQuery(std::string_view command)
{
    const std::size_t mark = command.find('?');
    return mark == command.find_last_not_of(" \t\r\n") && mark < command.find_first_of("=;&");
}

std::optional<int> cmeError(std::string_view line)
{
    constexpr std::string_view kName = "+CME ERROR:";
    if (!line.starts_with(kName))
        return std::nullopt;
    const std::string_view error = trimmed(line.substr(kName.size()));
    const auto *const named = std::find_if(
        std::begin(kCmeErrors), std::end(kCmeErrors),
        [&](const CmeError &row) { return upper(row.words) == upper(error); });
    if (named != std::end(kCmeErrors))
        return named->number;
    return smallNumber({std::string(error)}, 999);
}

std::string cmsError(std::string_view line)
{
    constexpr std::string_view kName = "+CMS ERROR:";
    std::string text(line);
    if (!line.starts_with(kName))
        return text;
    const auto number = smallNumber({std::string(trimmed(line.substr(kName.size())))}, 999);
    for (const CmsError &error : kCmsErrors) {
        if (error.number == number)
            return text + " (" + error.name + ')';
    }
    return text;
}

std::vector<Field> fieldsOf(std::string_view line)
{
    const std::string_view name = nameOf(line);
    std::string_view rest = trimmed(name.empty() ? line : line.substr(name.size() + 1));
    std::vector<Field> fields;
    if (rest.empty())
        return fields;
    while (true) {
        rest = trimmed(rest);
        Field field;
        if (rest.starts_with('"')) {
            const std::size_t end = std::min(rest.find('"', 1), rest.size());
            field = {std::string(trimmed(rest.substr(1, end - 1))), true};
            rest.remove_prefix(end);
        }
        const std::size_t comma = std::min(rest.find(','), rest.size());
        if (!field.isQuoted)
            field.text = trimmed(rest.substr(0, comma));
        fields.push_back(std::move(field));
        if (comma == rest.size())
            return fields;
        rest.remove_prefix(comma + 1);
    }
}

std::optional<std::string> textValue(const Lines &lines)
{
    for (const std::string &line : lines) {
        const std::string_view name = nameOf(line);
        std::string_view text = trimmed(
            name.empty() ? std::string_view(line) : std::string_view(line).substr(name.size() + 1));
        if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
            text = trimmed(text.substr(1, text.size() - 2));
        if (all(text, isPrintable))
            return std::string(text);
    }
    return std::nullopt;
}

std::optional<std::string> digits(const Lines &lines, std::size_t minimum, std::size_t maximum)
{
    for (const std::string &line : lines) {
        auto text = textValue({line});
        if (text && text->size() >= minimum && text->size() <= maximum && all(*text, isDigit))
            return text;
    }
    return std::nullopt;
}

CdmaIdentity cdmaIdentityOf(const Lines &lines)
{
    CdmaIdentity identity;
    for (const std::string &line : lines) {
        std::string text = upper(textValue({line}).value_or(std::string()));
        if (text.starts_with("0X"))
            text.erase(0, 2);
        if (!all(text, isHexDigit))
            continue;
        if (text.size() == 14)
            identity.meid = text;
        else if (text.size() == 8 || (text.size() == 11 && all(text, isDigit)))
            identity.esn = text;
    }
    return identity;
}

std::vector<std::string> ownNumbers(const Lines &lines, bool isUcs2)
{
    std::vector<std::string> numbers;
    for (const std::string &line : lines) {
        if (nameOf(line) != "+CNUM")
            continue;
        // A name without quotes may hold commas: the number is the field before its type.
        const std::vector<Field> fields = fieldsOf(line);
        for (std::size_t at = 1; at < fields.size(); ++at) {
            const std::string text = isUcs2 ? withoutUcs2(fields[at].text) : fields[at].text;
            const bool isTyped = at + 1 < fields.size()
                && smallNumber(fields[at + 1], 255).value_or(0) >= kFirstNumberType;
            if (!isPhoneNumber(text) || !(isTyped || fields.size() == 2))
                continue;
            numbers.push_back(text);
            break;
        }
    }
    return numbers;
}

std::optional<SimState> simState(std::string_view line)
{
    if (const auto number = cmeError(line)) {
        for (const CmeError &error : kCmeErrors) {
            if (error.number == number)
                return error.sim;
        }
        return std::nullopt;
    }
    if (nameOf(line) != "+CPIN")
        return std::nullopt;
    const std::vector<Field> fields = fieldsOf(line);
    std::string name = fields.empty() ? std::string() : upper(fields[0].text);
    std::replace(name.begin(), name.end(), '_', '-');
    for (const NamedSimState &state : kSimStates) {
        if (state.name == name)
            return state.sim;
    }
    return std::nullopt;
}

std::optional<bool> isLockEnabled(const Lines &lines)
{
    const auto number = firstNumber(lines);
    return number && *number <= 1 ? std::optional(*number == 1) : std::nullopt;
}

std::optional<RegistrationLine> registrationLine(std::string_view line, bool asked)
{
    std::vector<Field> fields = fieldsOf(line);
    RegistrationLine registration;
    if (hasReportMode(fields, asked)) {
        registration.reportMode = smallNumber(fields[0], kLastReportMode);
        fields.erase(fields.begin());
    } else if (hasUnreadableState(fields, asked)) {
        return std::nullopt;
    }
    const auto state = fields.empty() || fields[0].isQuoted
        ? std::nullopt
        : smallNumber(fields[0], kLastRegistrationState);
    if (!state)
        return std::nullopt;
    registration.state = *state;

    // State, area, cell, technology. Release 8 of +CEREG has a routing area, of one or two digits,
    // in front of the cell.
    const bool hasRoutingArea = nameOf(line) == "+CEREG" && fields.size() > 3
        && fields[2].text.size() <= 2 && (fields[3].isQuoted || fields[3].text.size() > 2);
    if (hasRoutingArea)
        fields.erase(fields.begin() + 2);
    if (fields.size() < 3)
        return registration;
    const auto area = hexNumber(fields[1]);
    const auto cell = hexNumber(fields[2], nameOf(line) == "+C5GREG" ? 10 : 8);
    if (area && cell && isArea(*area)) {
        registration.lac = *area;
        registration.ci = *cell;
    }
    if (fields.size() > 3 && !fields[3].isQuoted)
        registration.act = smallNumber(fields[3], kLastTechnology);
    return registration;
}

std::optional<Operator> operatorOf(const Lines &lines)
{
    for (const std::string &line : lines) {
        const std::vector<Field> fields = fieldsOf(line);
        if (nameOf(line) != "+COPS" || fields.empty())
            continue;
        Operator result;
        if (fields.size() > 1)
            result.format = smallNumber(fields[1], 2);
        if (fields.size() > 2 && result.format == 2) {
            const std::string plmn = withoutUcs2(fields[2].text);
            if ((plmn.size() == 5 || plmn.size() == 6) && all(plmn, isDigit))
                result.plmn = plmn;
        }
        if (fields.size() > 3 && !fields[3].isQuoted)
            result.act = smallNumber(fields[3], kLastTechnology);
        return result;
    }
    return std::nullopt;
}

std::optional<SystemInfo> systemOfTechnology(int technology)
{
    for (const Technology &row : kTechnologies) {
        if (row.number == technology)
            return row.info;
    }
    return std::nullopt;
}

std::optional<std::int32_t> productTypeOf(const Lines &capabilities, const Lines &radioSystems)
{
    const auto has = [&](std::string_view text) {
        return std::any_of(capabilities.begin(), capabilities.end(), [&](const std::string &line) {
            return line.find(text) != std::string::npos;
        });
    };
    const bool hasRadioSystems = std::any_of(
        radioSystems.begin(), radioSystems.end(),
        [](const std::string &line) { return nameOf(line) == "+WS46"; });
    if (has("+CGSM") || hasRadioSystems)
        return ZEPA_PRODUCT_TYPE_WCDMA;
    if (has("CIS707") || has("IS-856") || has("IS-707"))
        return ZEPA_PRODUCT_TYPE_CDMA;
    return std::nullopt;
}

std::optional<int> firstNumber(const Lines &lines)
{
    for (const std::string &line : lines) {
        const std::vector<Field> fields = fieldsOf(line);
        if (const auto number = fields.empty() ? std::nullopt : smallNumber(fields[0], 999))
            return number;
    }
    return std::nullopt;
}

} // namespace devsrv
