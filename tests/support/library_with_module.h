#pragma once

#include "process_facts.h"
#include "simulator.h"
#include "waiting.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <list>
#include <string>

#include <gtest/gtest.h>

namespace zel::test {

/// Connects through the export; 0 in `uuid` when it fails.
std::int32_t connectTo(const simulator::Module& module, std::uint64_t& uuid);

/// One synchronous call with exactly this request data. With `response`, what came back.
std::int32_t request(std::uint64_t uuid, std::uint16_t service, std::uint16_t method,
                     std::string data, std::string* response = nullptr);

/// The method that answers with what it got.
inline constexpr std::uint16_t kEchoService = 0x0102;
inline constexpr std::uint16_t kEchoMethod = 0x0304;

inline std::int32_t echo(std::uint64_t uuid, std::string data = "ping",
                         std::string* response = nullptr)
{
    return request(uuid, kEchoService, kEchoMethod, std::move(data), response);
}

inline simulator::Fault fault(simulator::FaultKind kind, Milliseconds time = 0ms,
                              unsigned count = 0, std::size_t size = 100)
{
    simulator::Fault made;
    made.kind = kind;
    made.time = time;
    made.count = count;
    made.size = size;
    return made;
}

/// The started library and a simulated module that echoes. Ends by checking that nothing is left
/// over: neither descriptors nor threads nor connections.
class LibraryWithModule : public testing::Test {
protected:
    LibraryWithModule();
    void SetUp() override;
    void TearDown() override;

    /// A further module that echoes, with a UUID of its own unless the settings name one. To be
    /// called before the test makes sockets or threads.
    simulator::Module& addModule(simulator::ModuleSettings settings = {});
    std::uint64_t connected(const simulator::Module& module);

    simulator::Simulator m_simulator;
    std::list<simulator::Module*> m_modules;
    simulator::Module& m_module;

private:
    ProcessFacts m_before;
};

} // namespace zel::test
