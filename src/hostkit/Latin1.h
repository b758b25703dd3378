// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Throws Failure for a text of a message with a character that the card cannot take. `what` names
/// the text in the sentence.
void requireLatin1(const QString &what, const QString &text);
