// SPDX-License-Identifier: MIT
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"

#include <QString>

#include <optional>

namespace {

// Malformed UTF-8 is decoded to U+FFFD, which Latin-1 does not have.
std::optional<std::string> toLatin1(const char *utf8)
{
    const QString text = QString::fromUtf8(utf8);
    const QByteArray latin1 = text.toLatin1();
    if (!utf8 || QString::fromLatin1(latin1) != text)
        return std::nullopt;
    return latin1.toStdString();
}

std::int32_t toResult(bool accepted)
{
    return accepted ? KESTRUN_ACCEPTED : KESTRUN_REFUSED;
}

void *controller()
{
    return static_cast<QObject *>(CCollectionDataLogic::GetInstance());
}

const char *dataDirectory()
{
    thread_local QByteArray utf8;
    std::wstring path;
    CCollectionDataLogic::GetInstance()->GetPath(path);
    utf8 = QString::fromStdWString(path).toUtf8();
    return utf8.constData();
}

void writeReport()
{
    CCollectionDataLogic::GetInstance()->WriteDataToFile();
}

std::int32_t sendSms(const char *number, const char *text)
{
    const auto numberBytes = toLatin1(number);
    const auto textBytes = toLatin1(text);
    if (!numberBytes || !textBytes)
        return KESTRUN_BAD_TEXT;
    return toResult(CCollectionDataLogic::GetInstance()->SendSMS(*numberBytes, *textBytes));
}

std::int32_t setReceipts(std::int32_t enable)
{
    return toResult(CCollectionDataLogic::GetInstance()->SmsReportSetting(enable != 0));
}

constexpr KestrunHostTable kTable{
    .size = sizeof(KestrunHostTable),
    .version = KESTRUN_HOST_TABLE_VERSION,
    .controller = controller,
    .dataDirectory = dataDirectory,
    .writeReport = writeReport,
    .sendSms = sendSms,
    .setReceipts = setReceipts,
    .destroy = CCollectionDataLogic::Destroy,
};

} // namespace

const KestrunHostTable *KestrunGetHostTable()
{
    return &kTable;
}
