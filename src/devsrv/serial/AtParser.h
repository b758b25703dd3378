// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"
#include "SimLock.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the lines of a card say. Pure functions: no input or output, no state. Every function takes
// any line, and returns nothing where it cannot read the value.

namespace devsrv {

using Lines = std::vector<std::string>;

enum class LineKind {
    Information,
    Ok,
    Error,     ///< ERROR, +CME ERROR, +CMS ERROR, or the words of some makers for them
    CallResult ///< ends a dial command, or reports the end of a call at any other time
};
LineKind kindOf(std::string_view line);

/// The name that a line begins with: "+CREG" of "+CREG: 1". Empty if there is none.
std::string_view nameOf(std::string_view line);

/// Whether a line that comes while `command` waits for its answer belongs to something else.
bool isUnsolicited(std::string_view line, std::string_view command);

/// The same for a command of a caller, whose answer may have any name: only the lines that cards
/// are known to send unasked do not belong to it.
bool isKnownUnsolicited(std::string_view line, std::string_view command);

/// Whether the line after an unsolicited line is a message in hexadecimal, which belongs to it.
bool isFollowedByMessage(std::string_view line);

/// Whether a command searches for networks, switches the radio off, sends a code, or changes what
/// the card stores: commands that this backend never sends on its own account.
bool isHarmful(std::string_view command);

/// Whether a command only asks for a mode or a value: "AT+CREG?".
bool isQuery(std::string_view command);

/// The number in "+CME ERROR: 10", also where the card writes the error in words.
std::optional<int> cmeError(std::string_view line);

/// A name for what "+CMS ERROR: 38" or another refusal says, for users.
std::string cmsError(std::string_view line);

/// One value between commas.
struct Field
{
    std::string text; ///< without quotes, and without blanks around it
    bool isQuoted = false;
};

/// The values after the name of a line, or of the whole line if it has no name.
std::vector<Field> fieldsOf(std::string_view line);

/// The first line of printable characters, without name and quotes.
std::optional<std::string> textValue(const Lines &lines);

/// The first line that is a number of `minimum` to `maximum` digits.
std::optional<std::string> digits(const Lines &lines, std::size_t minimum, std::size_t maximum);

/// The ESN (8 hexadecimal or 11 decimal digits) and the MEID (14 hexadecimal digits) among the
/// lines; empty where there is none.
CdmaIdentity cdmaIdentityOf(const Lines &lines);

/// The numbers of +CNUM lines. Numbers in UCS2 are decoded if `isUcs2`.
std::vector<std::string> ownNumbers(const Lines &lines, bool isUcs2);

/// The SIM as +CPIN? has it.
struct SimState
{
    MMModemLock lock = MM_MODEM_LOCK_UNKNOWN;
    bool isAbsent = false;
    bool operator==(const SimState &) const = default;
};

/// Reads a "+CPIN: ..." line, or the error in its place. Nothing if it says nothing about the SIM.
std::optional<SimState> simState(std::string_view line);

/// Reads "+CLCK: 1".
std::optional<bool> isLockEnabled(const Lines &lines);

/// One line of +CREG, +CGREG, +CEREG or +C5GREG.
struct RegistrationLine
{
    std::optional<int> reportMode; ///< only an answer has it
    int state = 0;
    std::string lac; ///< upper case without leading zeros; empty if there is no location
    std::string ci;
    std::optional<int> act;
    bool operator==(const RegistrationLine &) const = default;
};

/// Reads a registration line. An answer has a report mode in front of the state, an unsolicited
/// line has none; `asked` decides where a line can be read in both ways.
std::optional<RegistrationLine> registrationLine(std::string_view line, bool asked);

/// The answer to +COPS?.
struct Operator
{
    std::optional<int> format;
    std::string plmn; ///< empty if the format is another than digits
    std::optional<int> act;
};
std::optional<Operator> operatorOf(const Lines &lines);

/// System mode and sub-mode of an access technology of +COPS or +CREG.
std::optional<SystemInfo> systemOfTechnology(int technology);

/// One of ZEPA_PRODUCT_TYPE_... by the answers to +GCAP and +WS46=?. A card of both families is
/// identified by its IMEI.
std::optional<std::int32_t> productTypeOf(const Lines &capabilities, const Lines &radioSystems);

/// The first number of a line, as "+CFUN: 1" has it.
std::optional<int> firstNumber(const Lines &lines);

} // namespace devsrv
