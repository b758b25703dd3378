// SPDX-License-Identifier: MIT
#pragma once

#include "CommandLine.h"

/// The functions of the commands. Each throws Failure.
ExitStatus runReport(const CommandLine &line);
ExitStatus runWatch(const CommandLine &line);
ExitStatus runReplay(const CommandLine &line);
ExitStatus runRecord(const CommandLine &line);
ExitStatus runSms(const CommandLine &line);
ExitStatus runNotify(const CommandLine &line);
ExitStatus runCards(const CommandLine &line);
ExitStatus runInspect(const CommandLine &line);
ExitStatus runCheck(const CommandLine &line);
ExitStatus runHelp(const CommandLine &line);
ExitStatus runVersion(const CommandLine &line);
