#pragma once

#include "client.h"
#include "subscription_table.h"
#include "text_handler.h"

namespace zel {

/// What exists from ZEL_Init to ZEL_Unload. Destroying it also empties the last-error stores, which
/// live longer.
class clSystemMgr {
public:
    clSystemMgr();
    virtual ~clSystemMgr();
    clSystemMgr(const clSystemMgr&) = delete;
    clSystemMgr& operator=(const clSystemMgr&) = delete;

    /// The way of ordinary requests: over the connection of the module.
    RequestPath modules() { return {m_client.connections(), m_client.loop()}; }

    sys::EventLoop& loop() { return m_client.loop(); }
    clConHndlr& connections() { return m_client.connections(); }
    SubscriptionTable& subscriptions() { return m_subscriptions; }

private:
    // Constructed in this order, destroyed in the reverse one.
    Client m_client;
    SubscriptionTable m_subscriptions;
    clTextHandler m_texts;
};

} // namespace zel
