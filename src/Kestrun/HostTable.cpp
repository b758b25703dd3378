// SPDX-License-Identifier: MIT
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"
#include "shared/Guard.h"

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
    return shared::guarded("controller", static_cast<QObject *>(nullptr),
                           []() -> QObject * { return CCollectionDataLogic::GetInstance(); });
}

const char *dataDirectory()
{
    thread_local QByteArray utf8;
    return shared::guarded("dataDirectory", "", [] {
        std::wstring path;
        CCollectionDataLogic::GetInstance()->GetPath(path);
        utf8 = QString::fromStdWString(path).toUtf8();
        return utf8.constData();
    });
}

void writeReport()
{
    shared::guarded("writeReport", [] { CCollectionDataLogic::GetInstance()->WriteDataToFile(); });
}

std::int32_t sendSms(const char *number, const char *text)
{
    return shared::guarded("sendSms", std::int32_t{KESTRUN_REFUSED}, [=]() -> std::int32_t {
        const auto numberBytes = toLatin1(number);
        const auto textBytes = toLatin1(text);
        if (!numberBytes || !textBytes)
            return KESTRUN_BAD_TEXT;
        return toResult(CCollectionDataLogic::GetInstance()->SendSMS(*numberBytes, *textBytes));
    });
}

std::int32_t setReceipts(std::int32_t enable)
{
    return shared::guarded("setReceipts", std::int32_t{KESTRUN_REFUSED}, [=] {
        return toResult(CCollectionDataLogic::GetInstance()->SmsReportSetting(enable != 0));
    });
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
