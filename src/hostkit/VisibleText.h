// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Returns the text with each control character as "\NNN", in octal: a text from outside must not
/// control the terminal.
QString visible(const QString &text);
