// SPDX-License-Identifier: MIT
#pragma once

#include "RecordModel.h"
#include "Redactor.h"

/// Adds the log of the plug-in, the device service and Qt to a model for as long as the object
/// lives. There is one object at a time; it ends when no other thread logs any more.
class LogTap
{
public:
    /// With a redactor, the messages have no identities. Both must live longer than this object.
    explicit LogTap(RecordModel &model, const Redactor *redactor = nullptr);
    ~LogTap();
    LogTap(const LogTap &) = delete;
    LogTap &operator=(const LogTap &) = delete;
};
