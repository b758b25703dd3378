// SPDX-License-Identifier: MIT
#include "OnceWarnings.h"

#include <QtCore/QDebug>

namespace devsrv {

void OnceWarnings::warn(const QString &text)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_given.contains(text))
            return;
        m_given.insert(text);
    }
    qWarning().noquote() << QStringLiteral("%1: %2").arg(QLatin1String(m_backend), text);
}

} // namespace devsrv
