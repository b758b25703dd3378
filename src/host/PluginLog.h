// SPDX-License-Identifier: MIT
#pragma once

/// Shows the log of the plug-in and the device service on standard error, or only its warnings.
void setPluginLog(bool shown);
