// What becomes of the library and its calls when memory runs out, at any place and on any thread.

#include "library_with_module.h"
#include "logger.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <new>
#include <string>

namespace {

enum class Shortage { none, ofLibrary, everywhere };

// Nothing that these are used by allocates.
std::atomic<std::thread::id> g_caller, g_simulator;
std::atomic<Shortage> g_shortage{Shortage::none};
std::atomic<bool> g_isLasting;
std::atomic<long> g_left; // until the first that fails
std::atomic<long> g_failures, g_failuresOfLibrary;

/// The allocations of the library's own thread and of the caller's; never the simulator's.
bool mustFail()
{
    if (g_shortage == Shortage::none)
        return false;
    const auto self = std::this_thread::get_id();
    const bool isCaller = self == g_caller.load();
    if (self == g_simulator.load() || (isCaller && g_shortage == Shortage::ofLibrary))
        return false;
    const long left = --g_left;
    if (left > 0 || (left < 0 && !g_isLasting))
        return false;
    ++g_failures;
    g_failuresOfLibrary += !isCaller;
    return true;
}

bool mustMallocFail()
{
#ifdef _WIN32 // its runtime cannot throw without memory
    if (g_isLasting)
        return false;
#endif
    return mustFail();
}

/// From the n-th allocation on, from 1, one fails or, if it lasts, all of them.
void beginShortage(Shortage shortage, long first, bool isLasting)
{
    g_caller = std::this_thread::get_id();
    g_failures = 0;
    g_isLasting = isLasting;
    g_left = first;
    g_shortage = shortage;
}

} // namespace

// The linker lets every call of malloc and realloc in this program come here.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* bytes, std::size_t size);
void* __wrap_malloc(std::size_t size)
{
    return mustMallocFail() ? nullptr : __real_malloc(size);
}
void* __wrap_realloc(void* bytes, std::size_t size)
{
    return mustFail() ? nullptr : __real_realloc(bytes, size);
}
}
void* operator new(std::size_t size)
{
    void* const bytes = mustFail() ? nullptr : __real_malloc(size);
    return bytes ? bytes : throw std::bad_alloc{};
}
[[gnu::noinline]] void operator delete(void* bytes) noexcept
{
    std::free(bytes);
}
[[gnu::noinline]] void operator delete(void* bytes, std::size_t) noexcept
{
    std::free(bytes);
}

namespace zel::test {
namespace {

using simulator::FaultKind;

template <class... Calls>
std::int32_t untilOneFails(Calls&&... calls)
{
    std::int32_t result = ZEL_OK;
    static_cast<void>((((result = calls()) == ZEL_OK) && ...));
    return result;
}

class OutOfMemory : public LibraryWithModule {
protected:
    OutOfMemory()
    {
        static char scanTime[] = "ZEL_SCAN_TIME=20";
        putenv(scanTime);
        simulator::ModuleSettings found;
        found.address = "192.168.169.1"; // of an adapter, which loops broadcasts back
        found.answersScans = true;
        addModule(found);
        m_module.setHandler(5, 1, [](const simulator::MethodCall&) {
            return simulator::MethodAnswer{ZEL_OK, std::string(100'000, 'v')};
        });
        m_module.inspect([](auto&) { g_simulator = std::this_thread::get_id(); });
        // Lines are composed, and never written.
        logger().setThreshold(0);
        logger().setMask(~0u);
        logger().setOpen(true);
    }

    std::int32_t connect()
    {
        ZEL_Init();
        return ZEL_XCOM_ConnectToTcpIpDev(m_address.c_str(), m_module.port(), &m_uuid);
    }
    template <class Call> // of an export with buffer, length and capacity
    auto text(Call call)
    {
        return [this, call] { return call(m_text.data(), &m_length, m_text.size()); };
    }
    std::int32_t readAsynchronously()
    {
        std::uint32_t handle = 0;
        return untilOneFails(text([&](auto... out) {
                                 return ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, out..., &handle);
                             }),
                             [&] { return ZEL_XCOM_Async_ReadData(handle); });
    }

    /// Lets each allocation of the call fail, by itself and with all that follow.
    void exhaust(const std::function<std::int32_t()>& call)
    {
        g_failuresOfLibrary = 0;
        for (const auto shortage : {Shortage::ofLibrary, Shortage::everywhere})
            for (const bool isLasting : {false, true})
                for (long first = 1; exhaustFrom(first, shortage, isLasting, call);)
                    ++first;
    }

    std::uint64_t m_uuid = 0;
    const std::string m_address = m_module.address();
    std::string m_text = std::string(std::size_t{1} << 20, '\0');
    std::uint64_t m_length = 0;

private:
    /// False when nothing failed any more.
    bool exhaustFrom(long first, Shortage shortage, bool isLasting,
                     const std::function<std::int32_t()>& call)
    {
        EXPECT_EQ(connect(), ZEL_OK);
        const Stopwatch watch;
        beginShortage(shortage, first, isLasting);
        std::int32_t result = ZEL_SYS_NO_OBJECT;
        try {
            result = call();
        } catch (const std::bad_alloc&) { // ZEL_Init, and the test itself
        }
        g_shortage = Shortage::none;
        m_module.clearFaults();
        EXPECT_LT(watch.elapsed(), kSlack);
        EXPECT_TRUE(result == ZEL_OK || (g_failures > 0 && (result == ZEL_SYS_NO_OBJECT ||
                                                            result == ZEL_CONN_RECEIVE_FAILED ||
                                                            result == ZEL_CONN_UNKNOWN_UUID)))
            << result << " at allocation " << first;
        EXPECT_EQ(connect(), ZEL_OK);
        EXPECT_EQ(call(), ZEL_OK) << "after allocation " << first;
        return g_failures > 0 && !HasFailure();
    }
};

TEST_F(OutOfMemory, EveryCallComesBackAndWorksAgain)
{
    exhaust([] {
        ZEL_Unload();
        ZEL_Init();
        return ZEL_OK;
    });
    exhaust([&] {
        ZEL_XCOM_Disconnect(m_uuid);
        return connect();
    });
    exhaust([&] {
        const char* words = nullptr;
        EXPECT_NE(ZEL_XUTIL_GetTextFromModule(m_uuid, -1014030), nullptr);
        return untilOneFails(
            [&] { return ZEL_XPAR_GetLastErrMsg(&words, &m_length); }, text([&](auto... out) {
                return ZEL_XPAR_ReadPar(m_uuid, 1, "System", "Name", out...);
            }),
            [&] { return ZEL_XPAR_WriteStringPar(m_uuid, 1, "System", "Name", "Bench"); },
            text([&](auto... out) { return ZEL_XSTAT_GetModuleStatusString(m_uuid, out...); }),
            text([&](auto... out) { return ZEL_XSTAT_GetTopologyString(out...); }));
    });
    exhaust([&] {
        return untilOneFails(
            [&] { return ZEL_XDAQ_OpenSubscription(m_uuid); },
            [&] { return ZEL_XDAQ_AddSignal(m_uuid, "AnalogIn_Connector0.Signal0", 7, 9); },
            [&] { return ZEL_XDAQ_FinishSubscription(m_uuid, 0); },
            text([&](auto... out) { return ZEL_XDAQ_GetMeasValBlock(m_uuid, out...); }),
            [&] { return ZEL_XDAQ_ClearSubscription(m_uuid); });
    });
    const std::string file = (std::filesystem::temp_directory_path() / "zel_oom").string();
    exhaust([&] {
        std::filesystem::remove(file);
        const std::int32_t result = ZEL_XCTRL_GetControls(m_uuid, file.c_str());
        EXPECT_EQ(std::filesystem::exists(file), result == ZEL_OK);
        return result;
    });
    std::filesystem::remove(file);
}

TEST_F(OutOfMemory, WhatTheLibrarysOwnThreadReceivesIsWholeOrFails)
{
    exhaust([&] {
        // Segments both ways. By then no other thread receives.
        m_module.setFault(fault(FaultKind::delay, 8ms, 1));
        return echo(m_uuid, std::string(200'000, 'x'));
    });
    EXPECT_GT(g_failuresOfLibrary, 0);
    exhaust([&] { return readAsynchronously(); });
    EXPECT_GT(g_failuresOfLibrary, 0);
    exhaust([&] {
        m_module.setFault(fault(FaultKind::reset, 0ms, 1));
        const std::int32_t result = readAsynchronously();
        const bool isLost = result == ZEL_CONN_RECEIVE_FAILED || result == ZEL_CONN_SEND_FAILED ||
                            result == ZEL_CONN_UNKNOWN_UUID;
        return isLost ? ZEL_OK : result;
    });
    const auto scan = text([](auto... out) { return ZEL_XCOM_DoNetScan(0xFFFFFFFF, out...); });
    exhaust(scan);
    EXPECT_GT(g_failuresOfLibrary, 0);
    EXPECT_TRUE(eventually(
        [&] { return scan() == ZEL_OK && m_text.find("<Module ") != std::string::npos; }));

    // For seconds, with all allocations failing.
    EXPECT_EQ(connect(), ZEL_OK);
    m_module.setFault(fault(FaultKind::silence));
    beginShortage(Shortage::ofLibrary, 1, true);
    EXPECT_EQ(scan(), ZEL_OK);
    [[maybe_unused]] const std::clock_t before = std::clock();
    EXPECT_EQ(readAsynchronously(), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE);
#ifndef _WIN32 // where it is no processor time
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC);
#endif
    g_shortage = Shortage::none;
}

} // namespace
} // namespace zel::test
