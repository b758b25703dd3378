// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceService.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

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

/// The device service's numbers of the radio systems that our backends tell apart.
enum SystemMode : std::int32_t {
    SYSTEM_MODE_CDMA = 2,
    SYSTEM_MODE_GSM = 3,
    SYSTEM_MODE_EVDO = 4,
    SYSTEM_MODE_WCDMA = 5,
    SYSTEM_MODE_LTE = 6,
};

/// The device service's numbers of the access technologies within them.
enum SystemSubMode : std::int32_t {
    SUB_MODE_GSM = 1,
    SUB_MODE_GPRS = 2,
    SUB_MODE_EDGE = 3,
    SUB_MODE_CDMA_1X = 23,
    SUB_MODE_EVDO_REV_0 = 24,
    SUB_MODE_EVDO_REV_A = 25,
    SUB_MODE_EVDO_REV_B = 26,
    SUB_MODE_WCDMA = 41,
    SUB_MODE_HSDPA = 42,
    SUB_MODE_HSUPA = 43,
    SUB_MODE_HSPA = 44,
    SUB_MODE_HSPA_PLUS = 45,
    SUB_MODE_LTE = 101,
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

/// Raises an event. A backend calls it from any thread and holds no lock meanwhile.
using EventSink = std::function<void(std::int32_t event)>;

/// Takes one piece of the answer to an AT command.
using AnswerSink = std::function<void(const std::string &piece)>;

/// One way to reach a card: the queries and actions of the C boundary as C++ functions.
///
/// The boundary owns the backend, calls it from any thread, also from several at a time, and holds
/// no lock meanwhile. Texts are 8-bit (Latin-1). The boundary cuts names and versions to the
/// caller's buffer; a longer text that identifies something fails the call. A query returns nothing
/// if the card cannot answer it, never an invented value. Every function returns in bounded time.
/// The destructor returns when the last thread of the backend has ended.
class CardBackend
{
public:
    virtual ~CardBackend() = default;

    /// Called once, when the boundary's calls reach this backend. The backend raises no event
    /// earlier: a listener would query the previous backend. Not called for the default backend
    /// that the first call starts.
    virtual void begin() {}

    /// Lets go of the device, since the next backend may be on the same one. Queries fail.
    virtual void release() {}

    /// Takes the device back because the next backend could not be started. Blocks until that has
    /// succeeded, or has failed once.
    virtual void takeBack() {}

    /// One line of UTF-8 that names the card for people: "emulated card lte".
    virtual std::string description() = 0;

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

    /// Sends a command to the card. Passes the answer to `answer`, piece by piece, before this
    /// function or the endCommand() that follows returns. Returns whether the command was sent.
    virtual bool execute(const std::string &command, const AnswerSink &answer) = 0;

    /// Ends a command. Nothing to do where execute() delivers the whole answer.
    virtual bool endCommand() { return true; }
};

} // namespace devsrv
