// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace kestrun {

/// Returns which limit an XML document exceeds, as a part of a sentence ("more than ..."), or null
/// if it exceeds none. A document within the limits, none of which a dashboard's file comes near,
/// can be read, changed and saved by QDom on a stack of 256 KiB, in a time and with memory that
/// grow with its size. Entities and default attributes count as expanded. Pure; linear in the size.
const char *exceededLimit(const QByteArray &xml);

} // namespace kestrun
