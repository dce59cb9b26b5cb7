#pragma once

#include "async_com.h"
#include "client.h"
#include "datagram_contexts.h"
#include "method_request.h"
#include "phonebook.h"
#include "subscription_table.h"
#include "text_handler.h"
#include "triggers.h"

#include <memory>

namespace zel {

/// What exists from ZEL_Init to ZEL_Unload. Destroying it also empties what lives longer: the
/// last-error stores and a module's text.
class clSystemMgr {
public:
    clSystemMgr();
    virtual ~clSystemMgr();
    clSystemMgr(const clSystemMgr&) = delete;
    clSystemMgr& operator=(const clSystemMgr&) = delete;

    /// The way of ordinary requests: over the connection of the module.
    RequestPath modules() { return {m_client.connections()}; }
    RemoteModule module(std::uint64_t uuid) { return {modules(), uuid}; }

    // The ways to modules that are not connected.
    clMulticastServer& multicasts() { return m_client.multicasts(); }
    clUDPConnection& broadcasts() { return m_client.broadcasts(); }
    clDatagramWays byDatagram() { return {m_client.multicasts(), m_client.broadcasts()}; }

    const std::shared_ptr<clPhonebook>& phonebook() { return m_phonebook; }
    clConHndlr& connections() { return m_client.connections(); }
    clAsyncCom& asyncReads() { return m_asyncReads; }
    clSubscriptionTable& subscriptions() { return m_subscriptions; }
    daq::Triggers& triggers() { return m_triggers; }

private:
    // Constructed in this order, destroyed in the reverse one.
    Client m_client;
    clAsyncCom m_asyncReads{m_client.connections()};
    // A scan's requests may take answers a little longer than the scan itself.
    std::shared_ptr<clPhonebook> m_phonebook = std::make_shared<clPhonebook>();
    clSubscriptionTable m_subscriptions;
    clTextHandler m_texts;
    daq::Triggers m_triggers;
};

} // namespace zel
