// SPDX-License-Identifier: MIT
#include "Service.h"

#include "emulated/EmulatedCard.h"
#ifdef DEVSRV_HAVE_MODEMMANAGER
#include "modemmanager/ModemManagerCard.h"
#endif

#include <chrono>
#include <thread>

namespace devsrv {

namespace {

std::shared_ptr<CardBackend> makeEmulatedCard(EventSink raise)
{
    auto card = std::make_shared<EmulatedCard>(std::move(raise));
    QString error;
    if (const auto description = readCard(QStringLiteral("lte"), error))
        card->load(*description);
    return card;
}

#ifdef DEVSRV_HAVE_MODEMMANAGER
constexpr char kBackends[] = "\"emulated\", \"modemmanager\" or \"modemmanager:IMEI\"";

std::shared_ptr<CardBackend> makeModemManagerCard(const QString &imei, EventSink raise,
                                                  std::string &error)
{
    auto card = std::make_shared<ModemManagerCard>(imei, std::move(raise));
    if (card->startError().isEmpty())
        return card;
    error = card->startError().toStdString();
    return nullptr;
}
#else
constexpr char kBackends[] = "\"emulated\" (this library was built without D-Bus, hence without "
                             "\"modemmanager\")";
#endif

} // namespace

Service &Service::instance()
{
    static Service service;
    return service;
}

std::shared_ptr<CardBackend> Service::backend()
{
    const std::lock_guard lock(m_mutex);
    if (!m_backend)
        m_backend = makeEmulatedCard([this](std::int32_t event) { raise(event); });
    return m_backend;
}

void Service::replaceBackend(std::shared_ptr<CardBackend> backend)
{
    const std::shared_ptr<CardBackend> started = backend;
    {
        const std::lock_guard lock(m_mutex);
        m_backend.swap(backend);
        m_messages.clear();
    }
    receipts = false;
    if (started)
        started->begin();
    // The old backend ends here, where no lock is held: its threads may be in a callback. A query
    // on one of them must not be the last to let go, or the thread would have to wait for itself.
    while (backend && backend.use_count() > 1)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void *Service::keep(std::shared_ptr<SmsMessage> message)
{
    const std::lock_guard lock(m_mutex);
    void *const handle = message.get();
    m_messages.emplace(handle, std::move(message));
    return handle;
}

std::shared_ptr<SmsMessage> Service::message(void *handle)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_messages.find(handle);
    return found == m_messages.end() ? nullptr : found->second;
}

bool Service::drop(void *handle)
{
    const std::lock_guard lock(m_mutex);
    return m_messages.erase(handle) > 0;
}

void Service::raise(std::int32_t event)
{
    if (event == ZEPA_EVENT_DEV_DEVICE_INIT_FINISH)
        deviceInit.call(event, nullptr);
    else
        deviceManager.call(event, nullptr);
}

std::shared_ptr<CardBackend> makeBackend(const std::string &name, EventSink raise,
                                         std::string &error)
{
    if (name == "emulated")
        return makeEmulatedCard(std::move(raise));
#ifdef DEVSRV_HAVE_MODEMMANAGER
    constexpr std::string_view kNamed = "modemmanager:";
    if (name == "modemmanager")
        return makeModemManagerCard({}, std::move(raise), error);
    if (name.starts_with(kNamed) && name.size() > kNamed.size())
        return makeModemManagerCard(QString::fromStdString(name.substr(kNamed.size())),
                                    std::move(raise), error);
#endif
    error = "there is no device service \"" + name + "\"; choose " + kBackends;
    return nullptr;
}

} // namespace devsrv
