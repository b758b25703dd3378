// SPDX-License-Identifier: MIT
#include "Log.h"

#include <QTime>

namespace kestrun {

QByteArray timeStamp()
{
    return QTime::currentTime().toString(QStringLiteral("hh:mm:ss:zzz")).toLocal8Bit();
}

} // namespace kestrun
