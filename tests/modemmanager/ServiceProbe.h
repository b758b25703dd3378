// SPDX-License-Identifier: MIT
#pragma once

#include "DeviceServiceControl.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <optional>

/// The device service as a listener sees it: events, answers, warnings and queries in short form.
///
/// The callbacks of the service take no context: there is one record for the whole test program.
/// Any thread may call anything.
namespace probe {

using Events = QList<int>;

/// Listens from now on; what came before is forgotten.
void listen();
void stopListening();
void forget();

Events events();

/// Waits until each of these came, in any order, since the last forget().
bool waitFor(const Events &events, int timeoutMs = 10'000);

/// Queries that were asked from inside the event callback and gave an answer.
int answeredInCallback();

/// Whether an event came while a query of the same thread ran.
bool eventInsideQuery();

/// The pieces that came on the AT channel for a command; nothing if the call failed.
std::optional<QList<QByteArray>> at(const QByteArray &command);

bool sendSms(const QString &number, const QString &text);

/// Warnings since the last call, and nothing else from the log.
QStringList takeWarnings();

// Each gives nothing if the call failed.
using Text = std::optional<QByteArray>;
Text text(int32_t (*function)(char *));
std::optional<int> number(int32_t (*function)(int32_t *));
std::optional<int> lockState();
Text plmn();
Text ownNumber();
std::optional<FirmwareVersionRecord> versions();
std::optional<EsnRecord> cdma();
std::optional<RegStateRecord> registration(int32_t (*function)(RegStateRecord *));
std::optional<SysInfoRecord> systemInfo();

/// How many of all queries give an answer.
int answeredQueries();

} // namespace probe
