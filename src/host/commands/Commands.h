// SPDX-License-Identifier: MIT
#pragma once

#include "Failure.h"

#include <QStringList>

/// The commands of the host. Each takes the name of the program and the arguments behind the name
/// of the command, and throws Failure.
ExitStatus runReport(const QStringList &arguments);
ExitStatus runWatch(const QStringList &arguments);
ExitStatus runSms(const QStringList &arguments);
ExitStatus runNotify(const QStringList &arguments);
ExitStatus runCards(const QStringList &arguments);
ExitStatus runInspect(const QStringList &arguments);
ExitStatus runVersion(const QStringList &arguments);
