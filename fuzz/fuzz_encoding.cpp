// SPDX-License-Identifier: MIT

// A "Config.xml" in any encoding keeps its characters. The first byte of an input selects the
// encoding.
#include "ConfigDocument.h"
#include "DocumentLimits.h"
#include "Fuzz.h"
#include "TextEncoding.h"

#include <QDomDocument>
#include <QStringDecoder>
#include <QStringEncoder>

namespace {

constexpr const char *kEncodings[] = {
    "UTF-8",        "UTF-16",       "UTF-16BE",   "ISO-8859-1", "US-ASCII",  "windows-1252",
    "windows-1251", "windows-1255", "ISO-8859-2", "KOI8-R",     "GB2312",    "GBK",
    "GB18030",      "Big5",         "Shift_JIS",  "EUC-JP",     "EUC-KR",    "ISO-2022-JP",
    "UTF-7",        "TIS-620",      "IBM866",     "ISO-8859-8", "HZ-GB-2312"};

QString contentOf(QDomDocument document)
{
    document.removeChild(document.firstChild());
    return document.toString();
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    if (input.isEmpty())
        return;
    const char *const encoding = kEncodings[uchar(input[0]) % std::size(kEncodings)];
    QStringEncoder encoder(encoding);
    require(encoder.isValid());
    const QString begin = QStringLiteral("<?xml version='1.0' encoding='%1'?>\n");
    const QByteArray xml = QByteArray(encoder(begin.arg(QLatin1String(encoding))))
        + input.sliced(1);
    QDomDocument before;
    QDomDocument after;
    if (kestrun::exceededLimit(xml) || !before.setContent(xml))
        return;
    const auto written = kestrun::configText(before.cloneNode().toDocument());
    require(!written || after.setContent(*written));
    require(!written || contentOf(after) == contentOf(before));
}
