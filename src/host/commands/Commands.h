// SPDX-License-Identifier: MIT
#pragma once

#include "Failure.h"

#include <QStringList>

/// The commands of the host. Each takes the program's arguments, the program's name first and the
/// command's own name left out, and throws Failure.
ExitStatus runReport(const QStringList &arguments);
ExitStatus runWatch(const QStringList &arguments);
ExitStatus runSms(const QStringList &arguments);
ExitStatus runNotify(const QStringList &arguments);
ExitStatus runCards(const QStringList &arguments);
ExitStatus runInspect(const QStringList &arguments);
ExitStatus runVersion(const QStringList &arguments);
