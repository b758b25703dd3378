// SPDX-License-Identifier: MIT
#pragma once

/// Shows the log of plug-in and device service on standard error, or drops it.
void setPluginLog(bool shown);

/// Keeps standard output free of what plug-in and shell commands print, for as long as the object
/// lives: with the log it goes to standard error, without it nowhere, as does what they write to
/// standard error.
class PluginOutput
{
public:
    explicit PluginOutput(bool shown);
    ~PluginOutput();
    PluginOutput(const PluginOutput &) = delete;
    PluginOutput &operator=(const PluginOutput &) = delete;

private:
    const int m_savedOutput;
    const int m_savedError;
};
