// SPDX-License-Identifier: MIT
#pragma once

#include "CallTrace.h"
#include "Report.h"

/// One element of a report: where its value comes from, and why it is empty.
struct Explanation
{
    QString path;   ///< of the element: "Client/Command/Network/PLMN"
    QString value;  ///< in the report
    QString kind;   ///< of the origin, a stable code: "call", "file", "system" or "plug-in"
    QString origin; ///< the function, the file, or what of the system
    QString state;  ///< a stable code, see docs/json.md
    QString reason; ///< why, a stable code; the result of a call that failed; the missing file
    QString advice; ///< one line for the user; empty if the state is "ok"
};

/// The files that the plug-in reads for a report.
struct VersionFiles
{
    QString dashboard;        ///< the settings in the working directory
    QString dashboardMissing; ///< that file if it does not exist
    QString volume;           ///< the settings on the CD volume, or the file that leads to it
    QString volumeMissing;    ///< the first file on the way that does not exist
};

/// Looks for these files below a system root; an empty one stands for "/".
VersionFiles versionFiles(const QString &root);

/// Explains each element of a report, in the order of the report. `calls` are those that the
/// plug-in made for it. Has no effects, and depends on its arguments alone.
QList<Explanation> explain(const ReportValues &values, const QList<TracedCall> &calls,
                           const VersionFiles &files);
