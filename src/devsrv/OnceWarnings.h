// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>

#include <mutex>

namespace devsrv {

/// The warnings of a backend, each text of which is written once. Thread-safe.
class OnceWarnings
{
public:
    /// `backend` begins each warning; static storage.
    explicit OnceWarnings(const char *backend) : m_backend(backend) {}

    void warn(const QString &text);

private:
    const char *const m_backend;
    std::mutex m_mutex;
    QSet<QString> m_given;
};

} // namespace devsrv
