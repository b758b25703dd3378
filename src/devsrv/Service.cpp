// SPDX-License-Identifier: MIT
#include "Service.h"

#include "EmulatedCard.h"

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
    {
        const std::lock_guard lock(m_mutex);
        m_backend.swap(backend);
    }
    receipts = false;
    // The old backend ends here, where no lock is held: its threads may be in a callback.
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
    error = "there is no device service \"" + name + "\"; choose \"emulated\"";
    return nullptr;
}

} // namespace devsrv
