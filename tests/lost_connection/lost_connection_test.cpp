// Connections that cannot be made, that end while requests wait, and modules that come back.

#include "connect.h"
#include "connection_table.h"
#include "hexadecimal.h"
#include "library_with_module.h"
#include "transaction_handler.h"
#include "wire_peer.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <thread>
#include <vector>

#ifdef __linux__
#include <sys/resource.h>
#endif

namespace zel::test {
namespace {

using simulator::Fault;
using simulator::FaultKind;
using simulator::Module;

constexpr std::uint16_t kSilentMethod = 2;

class LostConnection : public LibraryWithModule {
protected:
    /// Requests that the module has asked to wait ten seconds for.
    std::vector<std::future<std::int32_t>> waitingRequests(Module& module, std::uint64_t uuid)
    {
        module.setHandler(1, kSilentMethod, [](const simulator::MethodCall&) {
            simulator::MethodAnswer answer;
            answer.pending = 10s;
            answer.silent = true;
            return answer;
        });
        module.clearReceived();
        std::vector<std::future<std::int32_t>> calls;
        for (int i = 0; i < 6; ++i) {
            calls.push_back(std::async(std::launch::async,
                                       [uuid] { return request(uuid, 1, kSilentMethod, "wait"); }));
        }
        EXPECT_TRUE(module.waitForCalls(calls.size(), 5s));
        return calls;
    }
};

TEST_F(LostConnection, FailsToConnectWithItsCodeInItsTime)
{
    const auto run = [](const char* what, std::int32_t expected, Milliseconds atLeast,
                        const std::string& host, std::uint16_t port) {
        std::uint64_t uuid = 7;
        const Stopwatch watch;
        EXPECT_EQ(ZEL_XCOM_ConnectToTcpIpDev(host.c_str(), port, &uuid), expected) << what;
        EXPECT_GE(watch.elapsed(), atLeast) << what;
        EXPECT_LT(watch.elapsed(), atLeast + kSlack) << what;
        EXPECT_EQ(uuid, 7U) << what;
    };
    const struct {
        Fault fault;
        Milliseconds atLeast;
    } faults[] = {
        {fault(FaultKind::silence), 5000ms},
        {fault(FaultKind::delay, 5500ms), 5000ms},
        {fault(FaultKind::byteByByte, 200ms), 5000ms},
        {fault(FaultKind::reset), 0ms},
        {fault(FaultKind::disconnectMidTelegram), 0ms},
        {fault(FaultKind::wrongStart), 0ms},
        {fault(FaultKind::wrongHeaderLength), 0ms},
        {fault(FaultKind::wrongTelegramType), 0ms},
        {fault(FaultKind::wrongTrailer), 0ms},
        {fault(FaultKind::wrongTransactionType), 0ms},
    };
    std::vector<Module*> modules;
    for (const auto& [fault, atLeast] : faults) {
        modules.push_back(&addModule());
        Fault onAddress = fault;
        onAddress.onAddressResolution = true;
        modules.back()->setFault(onAddress);
    }
    Module& gone = addModule();
    gone.stopListening();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < modules.size(); ++i) {
        threads.emplace_back(run, faultName(faults[i].fault.kind).data(),
                             ZEL_CONN_NO_ADDRESS_RESPONSE, faults[i].atLeast, modules[i]->address(),
                             modules[i]->port());
    }
    threads.emplace_back(run, "refused", ZEL_TCP_CONNECT_FAILED, 0ms, gone.address(), gone.port());
    for (const char* const name : {"nowhere.invalid", "127.0.0.1:1", "300.1.1.1"})
        threads.emplace_back(run, name, ZEL_TCP_CONNECT_FAILED, 0ms, name, m_module.port());
    for (std::thread& thread : threads)
        thread.join();
    gone.startListening();
}

#ifdef __linux__
TEST_F(LostConnection, IsNotMadeWhereNobodyWouldBeToldOfItsInput)
{
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    sys::EventLoop blind;
    setrlimit(RLIMIT_NOFILE, &before);
    clConHndlr connections{blind};
    const clTransactionHandlerRequestorOnly handler{connections};
    std::uint64_t uuid = 7;
    EXPECT_EQ(connectToModule(connections, m_module.address(), m_module.port(), uuid),
              ZEL_TCP_CONNECT_FAILED);
    EXPECT_TRUE(connections.uuids().empty());
    EXPECT_EQ(uuid, 7U);
}
#endif

TEST_F(LostConnection, EndsWhatWaitsAtOnceHoweverTheConnectionEnds)
{
    const struct {
        const char* what;
        std::function<void(Module&)> end;
    } ways[] = {
        {"disconnected", [](Module& m) { EXPECT_EQ(ZEL_XCOM_Disconnect(m.uuid()), ZEL_OK); }},
        {"disconnected by address",
         [](Module& m) {
             EXPECT_EQ(ZEL_XCOM_DisconnectFromTcpIpDev(m.address().c_str(), m.port()), ZEL_OK);
         }},
        {"closed by the module", [](Module& m) { m.dropConnections(); }},
        {"reset by the module", [](Module& m) { m.resetConnections(); }},
        {"restarted", [](Module& m) { m.restart(20ms); }},
        {"bad telegram",
         [](Module& m) {
             m.setFault(fault(FaultKind::wrongTrailer, 0ms, 1));
             EXPECT_EQ(echo(m.uuid()), ZEL_CONN_RECEIVE_FAILED);
         }},
    };
    for (const auto& way : ways) {
        const std::uint64_t uuid = connected(m_module);
        auto calls = waitingRequests(m_module, uuid);
        const Stopwatch watch;
        way.end(m_module);
        for (auto& call : calls)
            EXPECT_EQ(call.get(), ZEL_CONN_RECEIVE_FAILED) << way.what;
        EXPECT_LT(watch.elapsed(), kSlack) << way.what;

        EXPECT_EQ(echo(uuid), ZEL_CONN_UNKNOWN_UUID) << way.what;
        EXPECT_EQ(ZEL_XCOM_Disconnect(uuid), ZEL_CONN_UNKNOWN_UUID) << way.what;
        EXPECT_EQ(ZEL_XCOM_DisconnectFromTcpIpDev(m_module.address().c_str(), m_module.port()), -1)
            << way.what;
        EXPECT_TRUE(m_module.waitForConnections(0, 5s)) << way.what;
        EXPECT_TRUE(eventually([&] {
            std::uint64_t again = 0;
            return connectTo(m_module, again) == ZEL_OK && again == uuid;
        })) << way.what;
        EXPECT_EQ(echo(uuid), ZEL_OK) << way.what;
    }
}

TEST_F(LostConnection, ConnectsToAnAddressOnceAndToAModuleOnce)
{
    const std::uint64_t uuid = connected(m_module);
    EXPECT_EQ(connected(m_module), uuid);
    EXPECT_EQ(m_module.connectionCount(), 1U);

    // The same module by another of its addresses: the connection that there is stays.
    std::uint64_t again = 0;
    Module& twin = m_simulator.addModule();
    EXPECT_EQ(connectTo(twin, again), ZEL_OK);
    EXPECT_EQ(again, uuid);
    EXPECT_TRUE(twin.waitForConnections(0, 5s));
    EXPECT_EQ(m_module.connectionCount(), 1U);
    EXPECT_EQ(echo(uuid), ZEL_OK);

    std::vector<std::thread> threads;
    ZEL_XCOM_Disconnect(uuid);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] { EXPECT_EQ(connected(m_module), uuid); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(m_module.waitForConnections(1, 5s));
    twin.stopListening();
}

TEST_F(LostConnection, LeavesOtherModulesAlone)
{
    Module& other = addModule();
    const std::uint64_t uuid = connected(other);
    auto calls = waitingRequests(m_module, connected(m_module));
    other.resetConnections();
    EXPECT_TRUE(eventually([&] { return echo(uuid) == ZEL_CONN_UNKNOWN_UUID; }));
    EXPECT_EQ(echo(m_module.uuid()), ZEL_OK);
    EXPECT_EQ(calls.front().wait_for(0ms), std::future_status::timeout);
    m_module.dropConnections();
    for (auto& call : calls)
        EXPECT_EQ(call.get(), ZEL_CONN_RECEIVE_FAILED);
}

/// A module that sends without end what nobody has asked for.
class Flood {
public:
    Flood()
    {
        std::uint64_t uuid = 0;
        auto connecting = std::async(std::launch::async, [&] {
            return ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", m_peer.port(), &uuid);
        });
        m_peer.accept();
        m_peer.readTelegram();
        //                 start    Hlen Type Dlen Src              RESPONSE
        m_peer.write(unhex("12345678 10 02 0010 00000000f100d000 0100 0000 00000000"
                           "00000000f100d000 87654321"));
        EXPECT_EQ(connecting.get(), ZEL_OK);
        m_thread = std::thread{[this] { run(); }};
    }
    ~Flood()
    {
        m_isOver = true;
        m_thread.join();
    }

private:
    void run()
    {
        std::string telegrams;
        while (telegrams.size() < 60000)
            telegrams += unhex("12345678 10 01 000c 00000000f100d000 0002 0000 0000000000000000"
                               "87654321");
        EXPECT_NO_THROW({
            while (!m_isOver)
                m_peer.write(telegrams);
        });
    }

    WirePeer m_peer;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

TEST_F(LostConnection, HoldsUpNobodyElseWhileModulesAreStuckAndFloodAndDie)
{
    constexpr std::size_t kDue = 20;
    simulator::ModuleSettings settings;
    settings.receiveBuffer = 4096;
    Module& stuck = addModule(settings);
    Module& dying = addModule();
    const std::uint64_t other = connected(m_module);
    const std::uint64_t uuid = connected(stuck);
    // Its answers ask for acknowledges when it takes nothing any more.
    stuck.setHandler(1, kSilentMethod, [](const simulator::MethodCall&) {
        simulator::MethodAnswer answer{ZEL_OK, std::string(1000, 'x')};
        answer.pending = 10s;
        answer.delay = 700ms;
        answer.segmented = true;
        return answer;
    });
    std::vector<std::future<std::int32_t>> due;
    while (due.size() < kDue)
        due.push_back(
            std::async(std::launch::async, [uuid] { return request(uuid, 1, kSilentMethod, {}); }));
    EXPECT_TRUE(stuck.waitForCalls(kDue, 5s));
    stuck.setFault(fault(FaultKind::stopReading));

    std::vector<std::future<std::int32_t>> calls;
    const Stopwatch watch;
    for (int i = 0; i < 192; ++i) { // more than the system takes
        calls.push_back(
            std::async(std::launch::async, [uuid] { return echo(uuid, std::string(65000, 'x')); }));
    }
    {
        const Flood flood;
        auto dyingToo = std::async(std::launch::async, [&] {
            for (std::uint64_t id = 0; watch.elapsed() < 2000ms; echo(id, std::string(200000, 'x')))
                connectTo(dying, id);
        });
        Milliseconds longest{};
        int whileDue = 0;
        for (int i = 0; watch.elapsed() < 2000ms; ++i) {
            i % 2 == 0 ? dying.resetConnections() : dying.dropConnections();
            const Stopwatch own;
            EXPECT_EQ(echo(other), ZEL_OK);
            longest = std::max(longest, own.elapsed());
            whileDue += watch.elapsed() > 1000ms ? 1 : 0;
        }
        EXPECT_LT(longest, kSlack);
        EXPECT_GT(whileDue, 20) << "even on a busy machine";
        RecordProperty("longest", static_cast<int>(longest.count()));
    }
    int heldUp = 0;
    for (auto& call : calls) {
        const std::int32_t result = call.get();
        heldUp += result != ZEL_TRANS_TIMEOUT_ACKNOWLEDGE;
        EXPECT_TRUE(result == ZEL_CONN_SEND_FAILED || result == ZEL_CONN_RECEIVE_FAILED ||
                    result == ZEL_TRANS_TIMEOUT_ACKNOWLEDGE)
            << result;
    }
    EXPECT_GT(heldUp, 0) << "the system has taken it all";
    // The wait for room is a part of the wait for the acknowledge.
    EXPECT_LT(watch.elapsed(), 3s + 2 * kSlack);
    EXPECT_EQ(ZEL_XCOM_Disconnect(uuid), ZEL_OK) << "it has not cost the connection";
    for (auto& call : due)
        EXPECT_EQ(call.get(), ZEL_CONN_RECEIVE_FAILED);
    stuck.clearFaults();
}

TEST_F(LostConnection, DoesNotEndWhenAModuleOnlyPausesWithinALongRequest)
{
    const std::uint64_t other = connected(m_module);
    simulator::ModuleSettings settings;
    settings.receiveBuffer = 4096;
    Module& pausing = addModule(settings);
    const std::uint64_t uuid = connected(pausing);
    const std::string data(8u << 20, 'x');
    auto call = std::async(std::launch::async, [&] {
        std::string answer;
        const std::int32_t result = echo(uuid, data, &answer);
        EXPECT_TRUE(answer == data);
        return result;
    });
    std::this_thread::sleep_for(10ms);
    Fault pause = fault(FaultKind::stopReading);
    pause.lasting = 2000ms;
    pausing.setFault(pause);
    const Stopwatch watch;
    while (call.wait_for(10ms) == std::future_status::timeout) {
        const Stopwatch own;
        EXPECT_EQ(echo(other), ZEL_OK);
        EXPECT_LT(own.elapsed(), kSlack) << "nobody else is held up";
    }
    EXPECT_EQ(call.get(), ZEL_OK);
    EXPECT_GT(watch.elapsed(), 1500ms) << "the request was over before the pause";
}

TEST_F(LostConnection, EndsInTheMiddleOfARequestOfManySegments)
{
    const auto interrupted = [this](bool byReset) {
        const std::uint64_t uuid = connected(m_module);
        std::string data(60u << 20, 'x');
        auto call = std::async(std::launch::async, [&] { return echo(uuid, std::move(data)); });
        std::this_thread::sleep_for(10ms);
        byReset ? m_module.resetConnections() : m_module.dropConnections();
        return call.get();
    };
    for (const bool byReset : {false, true}) {
        std::int32_t result = ZEL_OK;
        // On a busy machine the connection may be gone before the request has begun.
        EXPECT_TRUE(eventually([&] {
            result = interrupted(byReset);
            return result != ZEL_CONN_UNKNOWN_UUID;
        }));
        EXPECT_TRUE(result == ZEL_CONN_RECEIVE_FAILED || result == ZEL_CONN_SEND_FAILED) << result;
    }
}

} // namespace
} // namespace zel::test
