// SPDX-License-Identifier: MIT

// Codes a message of the input's number, up to the first NUL, and text, in UTF-16: what comes out
// fits into what the network takes, and no part of a text in UCS2 is lost.
#include "Fuzz.h"
#include "serial/TpduCoder.h"

#include <QString>

using namespace devsrv;

namespace {

std::u16string unitsOf(const QByteArray &bytes)
{
    std::u16string text;
    for (qsizetype at = 0; at + 1 < bytes.size(); at += 2) {
        const auto high = static_cast<unsigned char>(bytes[at]);
        const auto low = static_cast<unsigned char>(bytes[at + 1]);
        text += static_cast<char16_t>(high << 8 | low);
    }
    return text;
}

// The text of one part in UCS2; nothing for one in GSM 7-bit.
std::u16string ucs2Of(const QByteArray &octets)
{
    const int address = 4 + (octets[2] + 1) / 2;
    const int length = static_cast<unsigned char>(octets[address + 2]);
    const QByteArray data = octets.mid(address + 3);
    const bool isUcs2 = octets[address + 1] == 8;
    require(isUcs2 ? data.size() == length && length <= 140
                   : data.size() == (length * 7 + 7) / 8 && length <= 160);
    const int header = octets[0] & 0x40 ? data[0] + 1 : 0;
    return isUcs2 ? unitsOf(data.mid(header)) : std::u16string();
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const qsizetype end = input.indexOf('\0');
    SmsMessage message;
    message.number = QString::fromLatin1(input.left(end)).toStdU16String();
    message.text = end < 0 ? std::u16string() : unitsOf(input.mid(end + 1));
    message.receipt = input.size() % 2 == 0;
    std::string error;
    const auto tpdus = tpdusOf(message, 7, error);
    require(tpdus.empty() == !error.empty() && tpdus.size() <= 255);
    std::u16string text;
    for (const Tpdu &tpdu : tpdus) {
        const QByteArray octets = QByteArray::fromHex(QByteArray::fromStdString(tpdu.hex)).mid(1);
        require(octets.size() == tpdu.octets && octets.size() <= 164);
        require(((octets[0] & 0x20) != 0) == message.receipt);
        require(((octets[0] & 0x40) != 0) == (tpdus.size() > 1));
        text += ucs2Of(octets);
    }
    require(text.empty() || text == message.text);
}
