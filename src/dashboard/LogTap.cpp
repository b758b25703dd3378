// SPDX-License-Identifier: MIT
#include "LogTap.h"

#include "VisibleText.h"

#include <QtGlobal>

#include <atomic>
#include <cstdio>

namespace {

std::atomic<RecordModel *> s_model = nullptr;
const Redactor *s_redactor = nullptr;

RecordKind kindOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return RecordKind::Debug;
    case QtInfoMsg:
        return RecordKind::Info;
    case QtWarningMsg:
        return RecordKind::Warning;
    default:
        return RecordKind::Critical;
    }
}

void addMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const QString shown = visible(s_redactor ? s_redactor->redacted(message) : message);
    // The program ends before the window can show it.
    if (type == QtFatalMsg)
        std::fprintf(stderr, "kestrun-dashboard: %s\n", qPrintable(shown));
    if (RecordModel *const model = s_model)
        model->add(kindOf(type), shown);
}

} // namespace

LogTap::LogTap(RecordModel &model, const Redactor *redactor)
{
    s_redactor = redactor;
    s_model = &model;
    qInstallMessageHandler(addMessage);
}

LogTap::~LogTap()
{
    qInstallMessageHandler(nullptr);
    s_model = nullptr;
}
