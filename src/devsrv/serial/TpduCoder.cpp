// SPDX-License-Identifier: MIT
#include "TpduCoder.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace devsrv {

namespace {

using Octets = std::vector<std::uint8_t>;

constexpr std::uint8_t kSubmit = 0x01;
constexpr std::uint8_t kReceiptRequest = 0x20;
constexpr std::uint8_t kHasHeader = 0x40;
constexpr std::uint8_t kInternational = 0x91;
constexpr std::uint8_t kUnknownNumberType = 0x81;
constexpr std::uint8_t kGsmAlphabet = 0x00;
constexpr std::uint8_t kUcs2 = 0x08;
constexpr std::uint8_t kToExtension = 0x1b;

constexpr std::size_t kMaxNumber = 20;
constexpr std::size_t kMaxParts = 255;
constexpr std::size_t kHeaderOctets = 6;
// The septets in which the header's octets end.
constexpr std::size_t kHeaderSeptets = 7;

// How many units a message, and a part of a longer one, has room for.
struct Room
{
    std::size_t alone;
    std::size_t part;
};
constexpr Room kSeptetRoom{160, 153};
constexpr Room kUcs2Room{70, 67};

// The GSM 7-bit default alphabet by its codes; the escape stands for itself.
constexpr std::u16string_view
    kAlphabet = u"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\u001bÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?"
                u"¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿abcdefghijklmnopqrstuvwxyzäöñüà";
static_assert(kAlphabet.size() == 128);

struct Extension
{
    char16_t character;
    std::uint8_t code; // after the escape
};

constexpr Extension kExtensions[] = {
    {u'\f', 0x0a}, {u'^', 0x14}, {u'{', 0x28}, {u'}', 0x29}, {u'\\', 0x2f},
    {u'[', 0x3c},  {u'~', 0x3d}, {u']', 0x3e}, {u'|', 0x40}, {u'€', 0x65},
};

// What may not be torn apart: a septet with its escape, a surrogate pair, or a single unit.
using Unit = std::u16string;

std::optional<Unit> septetsOf(char16_t character)
{
    const std::size_t code = kAlphabet.find(character);
    if (code != std::u16string_view::npos && code != kToExtension)
        return Unit(1, static_cast<char16_t>(code));
    for (const Extension &extension : kExtensions) {
        if (extension.character == character)
            return Unit{kToExtension, extension.code};
    }
    return std::nullopt;
}

std::optional<std::vector<Unit>> gsmUnits(std::u16string_view text)
{
    std::vector<Unit> units;
    for (const char16_t character : text) {
        auto septets = septetsOf(character);
        if (!septets)
            return std::nullopt;
        units.push_back(std::move(*septets));
    }
    return units;
}

bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xd800 && unit < 0xdc00;
}

bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xdc00 && unit < 0xe000;
}

std::optional<std::vector<Unit>> utf16Units(std::u16string_view text)
{
    std::vector<Unit> units;
    for (std::size_t at = 0; at < text.size(); at += units.back().size()) {
        const bool isPair = isHighSurrogate(text[at]) && at + 1 < text.size()
            && isLowSurrogate(text[at + 1]);
        if (!isPair && (isHighSurrogate(text[at]) || isLowSurrogate(text[at])))
            return std::nullopt;
        units.emplace_back(text.substr(at, isPair ? 2 : 1));
    }
    return units;
}

// Joins the units to as few parts as have room for them. An empty text is one part.
std::vector<Unit> partsOf(const std::vector<Unit> &units, const Room &room)
{
    std::size_t size = 0;
    for (const Unit &unit : units)
        size += unit.size();
    const std::size_t most = size <= room.alone ? room.alone : room.part;
    std::vector<Unit> parts(1);
    for (const Unit &unit : units) {
        if (parts.back().size() + unit.size() > most)
            parts.emplace_back();
        parts.back() += unit;
    }
    return parts;
}

// Packs septets, the first of which begins at bit 7 * `at` of `octets`.
void packSeptets(Octets &octets, const Unit &septets, std::size_t at)
{
    octets.resize(((at + septets.size()) * 7 + 7) / 8);
    std::size_t bit = at * 7;
    for (const char16_t septet : septets) {
        const unsigned shifted = static_cast<unsigned>(septet) << (bit % 8);
        octets[bit / 8] |= static_cast<std::uint8_t>(shifted);
        if (bit % 8 > 1)
            octets[bit / 8 + 1] |= static_cast<std::uint8_t>(shifted >> 8);
        bit += 7;
    }
}

// Length and content of the user data, of which the header is the beginning.
Octets userData(const Octets &header, const Unit &part, std::uint8_t coding)
{
    Octets data = header;
    std::size_t length = 0;
    if (coding == kGsmAlphabet) {
        const std::size_t headerSeptets = header.empty() ? 0 : kHeaderSeptets;
        packSeptets(data, part, headerSeptets);
        length = headerSeptets + part.size();
    } else {
        for (const char16_t unit : part) {
            data.push_back(static_cast<std::uint8_t>(unit >> 8));
            data.push_back(static_cast<std::uint8_t>(unit));
        }
        length = data.size();
    }
    data.insert(data.begin(), static_cast<std::uint8_t>(length));
    return data;
}

// The address of the recipient: number of digits, type, and two digits an octet.
std::optional<Octets> addressOf(std::u16string_view number)
{
    const bool isInternational = number.starts_with(u'+');
    if (isInternational)
        number.remove_prefix(1);
    if (number.empty() || number.size() > kMaxNumber)
        return std::nullopt;
    constexpr std::u16string_view kDigits = u"0123456789*#";
    Octets address{static_cast<std::uint8_t>(number.size()),
                   isInternational ? kInternational : kUnknownNumberType};
    for (std::size_t at = 0; at < number.size(); ++at) {
        const std::size_t digit = kDigits.find(number[at]);
        if (digit == std::u16string_view::npos)
            return std::nullopt;
        if (at % 2 == 0)
            address.push_back(static_cast<std::uint8_t>(0xf0 | digit));
        else
            address.back() = static_cast<std::uint8_t>((address.back() & 0x0f) | digit << 4);
    }
    return address;
}

std::string hexOf(const Octets &octets)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (const std::uint8_t octet : octets) {
        hex += kDigits[octet >> 4];
        hex += kDigits[octet & 0x0f];
    }
    return hex;
}

} // namespace

std::vector<Tpdu> tpdusOf(const SmsMessage &message, std::uint8_t reference, std::string &error)
{
    const auto address = addressOf(message.number);
    if (!address) {
        error = "the number of an SMS has 1 to 20 digits, * or #, and may begin with +";
        return {};
    }
    const auto septets = gsmUnits(message.text);
    const auto units = septets ? septets : utf16Units(message.text);
    if (!units) {
        error = "the text of the SMS is no UTF-16: a surrogate stands alone";
        return {};
    }
    const std::uint8_t coding = septets ? kGsmAlphabet : kUcs2;
    const auto parts = partsOf(*units, septets ? kSeptetRoom : kUcs2Room);
    if (parts.size() > kMaxParts) {
        error = "the text of the SMS needs more than 255 parts; shorten it";
        return {};
    }

    const bool isLong = parts.size() > 1;
    const auto flags = static_cast<std::uint8_t>(kSubmit | (message.receipt ? kReceiptRequest : 0)
                                                 | (isLong ? kHasHeader : 0));
    std::vector<Tpdu> tpdus;
    for (const Unit &part : parts) {
        const auto number = static_cast<std::uint8_t>(tpdus.size() + 1);
        const Octets header = isLong ? Octets{kHeaderOctets - 1,
                                              0,
                                              3,
                                              reference,
                                              static_cast<std::uint8_t>(parts.size()),
                                              number}
                                     : Octets();
        Octets octets{flags, 0};
        octets.insert(octets.end(), address->begin(), address->end());
        octets.insert(octets.end(), {0, coding});
        const Octets data = userData(header, part, coding);
        octets.insert(octets.end(), data.begin(), data.end());
        tpdus.push_back({static_cast<int>(octets.size()), "00" + hexOf(octets)});
    }
    return tpdus;
}

} // namespace devsrv
