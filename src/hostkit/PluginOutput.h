// SPDX-License-Identifier: MIT
#pragma once

/// Keeps the output of the plug-in and of its shell commands away from standard output for as long
/// as the object lives: it goes to standard error with the log, and is dropped without it.
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
