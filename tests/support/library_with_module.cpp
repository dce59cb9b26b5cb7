#include "library_with_module.h"

#include "library.h"
#include "sync_method_request.h"
#include "system_manager.h"

namespace zel::test {

namespace {

// What Windows itself opens now and then for a process; a real leak is larger or grows.
#ifdef _WIN32
constexpr std::size_t kForeignDescriptors = 8;
#else
constexpr std::size_t kForeignDescriptors = 0;
#endif

simulator::MethodAnswer echoed(const simulator::MethodCall& call)
{
    return {ZEL_OK, call.data};
}

} // namespace

std::int32_t connectTo(const simulator::Module& module, std::uint64_t& uuid)
{
    uuid = 0;
    return ZEL_XCOM_ConnectToTcpIpDev(module.address().c_str(), module.port(), &uuid);
}

std::int32_t request(std::uint64_t uuid, std::uint16_t service, std::uint16_t method,
                     std::string data, std::string* response)
{
    clSyncMthdReqrSrv call{{uuid, {service, method}}, std::move(data), manager()->modules()};
    const std::int32_t result = call.execute();
    const Bytes bytes = call.responseData();
    if (response)
        response->assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return result;
}

LibraryWithModule::LibraryWithModule() : m_module(addModule())
{
    // What is made once for the whole process is made here.
    ZEL_Init();
    connected(m_module);
    ZEL_Unload();
    EXPECT_TRUE(m_module.waitForConnections(0, 5s));
    m_module.clearReceived();
    m_before = processFacts();
}

void LibraryWithModule::SetUp()
{
    ASSERT_EQ(ZEL_Init(), 1);
}

void LibraryWithModule::TearDown()
{
    ZEL_Unload();
    for (simulator::Module* const module : m_modules) {
        EXPECT_TRUE(module->waitForConnections(0, 5s))
            << module->settings().name << ": " << module->connectionCount() << " connections left";
    }
    EXPECT_TRUE(eventually([this] {
        const ProcessFacts now = processFacts();
        return now.descriptors <= m_before.descriptors + kForeignDescriptors &&
               now.threads <= m_before.threads;
    })) << "descriptors: "
        << m_before.descriptors << " before, " << processFacts().descriptors
        << " after; threads: " << m_before.threads << " before, " << processFacts().threads
        << " after";
}

simulator::Module& LibraryWithModule::addModule(simulator::ModuleSettings settings)
{
    settings.uuid += m_modules.size();
    const ProcessFacts before = processFacts();
    simulator::Module& module = m_simulator.addModule(std::move(settings));
    const ProcessFacts after = processFacts();
    m_before.descriptors += after.descriptors - before.descriptors;
    m_before.threads += after.threads - before.threads;
    module.setHandler(kEchoService, kEchoMethod, echoed);
    m_modules.push_back(&module);
    return module;
}

std::uint64_t LibraryWithModule::connected(const simulator::Module& module)
{
    std::uint64_t uuid = 0;
    EXPECT_EQ(connectTo(module, uuid), ZEL_OK);
    EXPECT_EQ(uuid, module.uuid());
    return uuid;
}

} // namespace zel::test
