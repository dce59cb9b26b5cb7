// Many threads that connect, ask, disconnect and drop connections at random, against modules that
// do everything wrong. ZEL_STRESS_SECONDS and ZEL_STRESS_SEED say how long and how.

#include "library_with_module.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <vector>

namespace zel::test {
namespace {

using simulator::FaultKind;
using simulator::Module;
using Random = std::mt19937;

constexpr std::size_t kThreads = 64;
constexpr std::size_t kModules = 8;
// The longest call: a connect that finds the module mute waits 10 s, a request twice for its turn,
// for a peer that takes nothing, and for the answer.
constexpr Milliseconds kLongestCall = 60s;

constexpr std::array kDocumented{
    ZEL_OK,
    ZEL_FAILED, // disconnecting by an address that is not connected
    ZEL_SRV_RESPONSE_MISMATCH,
    ZEL_TRANS_WRONG_TYPE,
    ZEL_TRANS_INVALID_FORMAT,
    ZEL_TRANS_TIMEOUT_SEND,
    ZEL_TRANS_TIMEOUT_ACKNOWLEDGE,
    ZEL_TRANS_TIMEOUT_RESPONSE,
    ZEL_CONN_UNKNOWN_UUID,
    ZEL_CONN_NO_ADDRESS_RESPONSE,
    ZEL_CONN_SEND_FAILED,
    ZEL_CONN_RECEIVE_FAILED,
    ZEL_TCP_CONNECT_FAILED,
};

unsigned fromEnvironment(const char* name, unsigned otherwise)
{
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

std::size_t upTo(Random& random, std::size_t limit)
{
    return std::uniform_int_distribution<std::size_t>{0, limit}(random);
}

/// Ends the program when a call lasts too long: a deadlock would leave nothing else to tell of it.
class Watchdog {
public:
    ~Watchdog()
    {
        m_isOver = true;
        m_thread.join();
    }

    template <class Call>
    std::int32_t watch(std::size_t thread, const char* what, Call call)
    {
        m_calls[thread].what = what;
        m_calls[thread].since = now();
        const std::int32_t result = call();
        m_calls[thread].since = 0;
        return result;
    }

private:
    struct Call {
        std::atomic<const char*> what = "";
        std::atomic<std::int64_t> since = 0; // milliseconds; 0: none is running
    };

    static std::int64_t now() { return Clock::now().time_since_epoch() / Milliseconds{1}; }

    void look()
    {
        while (!m_isOver) {
            std::this_thread::sleep_for(200ms);
            for (std::size_t i = 0; i < m_calls.size(); ++i) {
                const std::int64_t since = m_calls[i].since;
                if (since == 0 || now() - since < kLongestCall.count())
                    continue;
                std::fprintf(stderr, "thread %zu does not come back from '%s'\n", i,
                             m_calls[i].what.load());
                std::abort();
            }
        }
    }

    std::array<Call, kThreads> m_calls;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread{[this] { look(); }};
};

class Stress : public LibraryWithModule {
protected:
    void run(std::size_t thread)
    {
        Random random{m_seed + static_cast<unsigned>(thread)};
        while (Clock::now() < m_end) {
            auto chosen = m_modules.begin();
            std::advance(chosen, upTo(random, m_modules.size() - 1));
            step(thread, random, **chosen);
        }
    }

    void step(std::size_t thread, Random& random, Module& module)
    {
        const auto call = [&](const char* what, auto work) {
            count(what, m_watchdog->watch(thread, what, work));
        };
        std::uint64_t uuid = 0;
        switch (upTo(random, 300)) {
        case 0:
            return call("disconnect", [&] { return ZEL_XCOM_Disconnect(module.uuid()); });
        case 1:
            return call("disconnect by address", [&] {
                return ZEL_XCOM_DisconnectFromTcpIpDev(module.address().c_str(), module.port());
            });
        case 2:
            return module.dropConnections();
        case 3:
            return module.resetConnections();
        case 4:
        case 5:
        case 6:
            return misbehave(random, module);
        case 7:
            return module.clearFaults();
        case 8:
            if (upTo(random, 9) == 0)
                module.restart(Milliseconds{upTo(random, 100)});
            return;
        default:
            break;
        }
        const std::string data(upTo(random, upTo(random, 49) == 0 ? 400000 : 300), 'y');
        call("echo", [&] {
            std::string answer;
            const std::int32_t result = echo(module.uuid(), data, &answer);
            if (result == ZEL_OK && answer != data)
                ADD_FAILURE() << "the answer of another request";
            return result;
        });
        call("connect", [&] { return connectTo(module, uuid); });
    }

    void misbehave(Random& random, Module& module)
    {
        auto made = fault(FaultKind::silence, Milliseconds{upTo(random, 300)},
                          static_cast<unsigned>(1 + upTo(random, 3)), 1 + upTo(random, 1000));
        made.kind = static_cast<FaultKind>(upTo(random, static_cast<int>(FaultKind::stopReading)));
        // Nobody can tell it from the right answer when another request waits under that label.
        if (made.kind == FaultKind::wrongLabel)
            return;
        made.onAddressResolution = upTo(random, 5) == 0;
        made.lasting = 1000ms;
        if (made.kind == FaultKind::byteByByte)
            made.time /= 100;
        module.setFault(made);
    }

    void count(const char* what, std::int32_t result)
    {
        if (std::find(kDocumented.begin(), kDocumented.end(), result) == kDocumented.end())
            ADD_FAILURE() << what << " gave " << result;
        const std::lock_guard lock{m_mutex};
        ++m_results[{what, result}];
    }

    const unsigned m_seed = fromEnvironment("ZEL_STRESS_SEED", std::random_device{}());
    Clock::time_point m_end;
    std::mutex m_mutex;
    std::map<std::pair<std::string, std::int32_t>, unsigned> m_results; // under m_mutex
    std::optional<Watchdog> m_watchdog{std::in_place};
};

TEST_F(Stress, ManyThreadsAndMisbehavingModulesLeaveNothingBehind)
{
    std::printf("ZEL_STRESS_SEED=%u\n", m_seed);
    while (m_modules.size() < kModules)
        addModule();
    m_end = Clock::now() + std::chrono::seconds{fromEnvironment("ZEL_STRESS_SECONDS", 5)};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back([this, i] { run(i); });
    for (std::thread& thread : threads)
        thread.join();
    m_watchdog.reset();
    for (const auto& [key, times] : m_results)
        std::printf("%9u  %-22s %d\n", times, key.first.c_str(), key.second);

    // Whatever happened before, all works as soon as the modules do.
    for (Module* const module : m_modules) {
        module->clearFaults();
        // A module that lied about its UUID is in the table under the wrong ones.
        while (ZEL_XCOM_DisconnectFromTcpIpDev(module->address().c_str(), module->port()) ==
               ZEL_OK) {
        }
        std::int32_t connected = 0;
        std::int32_t echoed = 0;
        EXPECT_TRUE(eventually(
            [&] {
                std::uint64_t uuid = 0;
                connected = connectTo(*module, uuid);
                echoed = echo(module->uuid());
                return connected == ZEL_OK && echoed == ZEL_OK;
            },
            10000ms))
            << module->settings().uuid << ": connect " << connected << ", echo " << echoed;
    }
    const auto succeeded = m_results.find({"echo", ZEL_OK});
    ASSERT_NE(succeeded, m_results.end());
    EXPECT_GT(succeeded->second, 100U);
}

} // namespace
} // namespace zel::test
