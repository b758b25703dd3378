// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceService.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace devsrv {

enum class Domain { CircuitSwitched, PacketSwitched };

struct Versions
{
    std::string firmware;
    std::string hardware;
};

struct CdmaIdentity
{
    std::string esn;
    std::string meid;
};

struct NumberMemory
{
    std::int32_t index = 0;
    std::int32_t count = 0;
};

struct Registration
{
    std::int32_t reportMode = 0;
    std::int32_t state = 0;
    std::string lac;
    std::string cellId;
};

struct SystemInfo
{
    std::int32_t mode = 0;
    std::int32_t subMode = 0;
};

struct SmsMessage
{
    std::u16string number;
    std::u16string text;
    bool receipt = false;
};

/// How the C boundary fills texts.
enum class TextFill {
    Proper,       ///< cut to the buffer, with a closing NUL
    NoTerminator, ///< to the end of the buffer, without a NUL
    HighBytes     ///< bytes above ASCII in the place of each character
};

/// What the C boundary does with a call besides asking the backend.
struct CallOutcome
{
    std::int32_t result = 0;   ///< anything but 0 is returned as it is
    bool writeOutputs = false; ///< ask the backend and fill the outputs all the same
    TextFill fill = TextFill::Proper;
};

/// How a backend tells of an event; may be called from any thread, with no lock held.
using EventSink = std::function<void(std::int32_t event)>;

/// Takes one piece of an answer on the AT channel. The bytes end in a NUL behind the last one.
using AnswerSink = std::function<void(const std::string &piece)>;

/// One way to reach a card: what the C boundary asks, in C++ shapes.
///
/// The boundary owns the backend, calls it from any thread, also from several at a time, and holds
/// no lock while it does. Texts are 8-bit (Latin-1); the boundary cuts them to the caller's buffer.
/// A query that cannot be answered gives nothing, never an invented value. Every function returns
/// in bounded time. The destructor returns only when nothing of the backend runs any more.
class CardBackend
{
public:
    virtual ~CardBackend() = default;

    /// Comes once, when the boundary's calls reach this backend: events may be raised from now on,
    /// not before, since their listeners would ask another one.
    virtual void begin() {}

    /// Comes before every call of the boundary's, with the C function's name and its arguments as
    /// they are to be shown.
    virtual CallOutcome enter(std::string_view /*function*/, std::string_view /*arguments*/)
    {
        return {};
    }

    virtual std::optional<std::int32_t> status() = 0;
    virtual std::optional<std::string> imei() = 0;
    virtual std::optional<std::string> imsi() = 0;
    virtual std::optional<std::string> serialNumber() = 0;
    virtual std::optional<std::string> model() = 0;
    virtual std::optional<CdmaIdentity> cdmaIdentity() = 0;
    virtual std::optional<Versions> versions() = 0;
    virtual std::optional<std::int32_t> productType() = 0;
    virtual std::optional<NumberMemory> numberMemory() = 0;
    virtual std::optional<std::string> ownNumber(std::int32_t index) = 0;
    virtual std::optional<std::uint8_t> lockState() = 0;

    virtual std::optional<Registration> registration(Domain domain) = 0;
    virtual bool setReportMode(Domain domain, std::int32_t mode) = 0;
    virtual std::optional<std::string> plmn() = 0;
    virtual std::optional<SystemInfo> systemInfo() = 0;

    virtual bool sendSms(const SmsMessage &message) = 0;

    /// Sends a command and passes the answer, in as many pieces as there are, before it or the
    /// endCommand() that follows returns.
    virtual bool execute(const std::string &command, const AnswerSink &answer) = 0;
    virtual bool endCommand() = 0;
};

} // namespace devsrv
