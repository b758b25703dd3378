// SPDX-License-Identifier: MIT
#include "CardList.h"

NamedValues backendRows(const DeviceServiceLibrary &library)
{
    NamedValues rows;
    for (const DevSrvBackend &backend : library.backends()) {
        QString help = QString::fromUtf8(backend.help);
        if (!backend.built) {
            // The option may be on and its library missing.
            help += QStringLiteral(" (not built; %1 and its library are needed)")
                        .arg(QString::fromUtf8(backend.option));
        }
        rows.append({QString::fromUtf8(backend.name) + QString::fromUtf8(backend.argument), help});
    }
    return rows;
}

// To find out which port has a card, commands have to be sent to each: only the user starts that.
DeviceList findDevices(const DeviceServiceLibrary &library, bool ports)
{
    DeviceList found;
    for (const DevSrvBackend &backend : library.backends()) {
        if ((qstrcmp(backend.name, "serial") == 0) != ports)
            continue;
        QString why;
        found.rows += library.devices(backend.name, why);
        if (!why.isEmpty())
            found.failures.append({QString::fromUtf8(backend.name), why});
    }
    return found;
}

// The rows of a list of the control interface: a name, and what is said of it.
NamedValues rowsOf(const char *(*next)(std::int32_t, const char **), const QString &prefix,
                   const QString &about)
{
    NamedValues rows;
    const char *text = nullptr;
    for (std::int32_t index = 0; const char *name = next(index, &text); ++index)
        rows.append({prefix + QString::fromUtf8(name), about + QString::fromUtf8(text)});
    return rows;
}
