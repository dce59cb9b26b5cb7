#include "library.h"
#include "process_facts.h"
#include "ZEL_VR_Framework.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <cstdlib>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace {

// Zeroed memory that any output record fits in; read as a text it is empty.
alignas(16) std::byte g_scratch[128 * 1024];

template <class Argument>
Argument someArgument()
{
    if constexpr (std::is_pointer_v<Argument>)
        return reinterpret_cast<Argument>(g_scratch);
    else
        return Argument{1};
}

/// An export that refuses to work while the library is not started, whatever its arguments are.
struct Export {
    const char* name;
    std::function<std::int32_t()> callWithNothing;
    std::vector<std::function<std::int32_t()>> callsWithoutOnePointer;
};

template <std::size_t index, class... Arguments>
void addCallWithout(Export& entry, std::int32_t (*function)(Arguments...),
                    const std::set<std::size_t>& optional)
{
    if constexpr (std::is_pointer_v<std::tuple_element_t<index, std::tuple<Arguments...>>>) {
        if (optional.contains(index))
            return;
        entry.callsWithoutOnePointer.emplace_back([function] {
            std::tuple<Arguments...> arguments{someArgument<Arguments>()...};
            std::get<index>(arguments) = nullptr;
            return std::apply(function, arguments);
        });
    }
}

/// optional: positions of the pointers that may be null, or that the call looks at later.
template <class... Arguments>
Export describe(const char* name, std::int32_t (*function)(Arguments...),
                const std::set<std::size_t>& optional = {})
{
    Export entry{name, [function] { return function(Arguments{}...); }, {}};
    [&]<std::size_t... indices>(std::index_sequence<indices...>)
    {
        (addCallWithout<indices>(entry, function, optional), ...);
    }
    (std::index_sequence_for<Arguments...>());
    return entry;
}

#define EXPORT(name, ...) describe(#name, name __VA_OPT__(, ) __VA_ARGS__)

const std::vector<Export>& startedExports()
{
    static const std::vector<Export> exports{
        EXPORT(ZEL_XCOM_ConnectToTcpIpDev),
        EXPORT(ZEL_XCOM_DisconnectFromTcpIpDev),
        EXPORT(ZEL_XCOM_Disconnect),
        EXPORT(ZEL_XCOM_DoNetScan),
        EXPORT(ZEL_XCOM_ScanEthSegment),
        EXPORT(ZEL_XCOM_ReadNetSetting),
        EXPORT(ZEL_XCOM_ReadNetSettings),
        EXPORT(ZEL_XCOM_WriteNetSetting),
        EXPORT(ZEL_XCOM_Async_ReadData),
        EXPORT(ZEL_XCOM_Async_ReadData_Timeout),
        EXPORT(ZEL_XCTRL_ActivateTeds),
        EXPORT(ZEL_XCTRL_Execute),
        EXPORT(ZEL_XCTRL_ExecuteXMLPars, {4, 5}),
        EXPORT(ZEL_XCTRL_GetControls),
        EXPORT(ZEL_XCTRL_GetControlsString),
        EXPORT(ZEL_XCTRL_GetSignalGeneratorClock),
        EXPORT(ZEL_XCTRL_ReadXML),
        EXPORT(ZEL_XCTRL_ReadXSD),
        EXPORT(ZEL_XCTRL_ReadXSLT, {2, 3}),
        EXPORT(ZEL_XCTRL_SetArbitrarySignalGenerator, {2}),
        EXPORT(ZEL_XCTRL_SetCalPoint),
        EXPORT(ZEL_XCTRL_SetI2SToCal),
        EXPORT(ZEL_XCTRL_SetInputSource),
        EXPORT(ZEL_XCTRL_SetLedMode),
        EXPORT(ZEL_XCTRL_SetZero),
        EXPORT(ZEL_XCTRL_SetZeroWithTarget),
        EXPORT(ZEL_XCTRL_TransmitUserCanMsg),
        EXPORT(ZEL_XDAQ_ActivateTrigger),
        EXPORT(ZEL_XDAQ_AddSignal),
        EXPORT(ZEL_XDAQ_Async_GetMeasValBlock),
        EXPORT(ZEL_XDAQ_ClearSubscription),
        EXPORT(ZEL_XDAQ_ClearTrigger),
        EXPORT(ZEL_XDAQ_FinishSubscription),
        EXPORT(ZEL_XDAQ_GetAllMeasVals),
        EXPORT(ZEL_XDAQ_GetAnalogMeasVal),
        EXPORT(ZEL_XDAQ_GetCanMeasVal),
        EXPORT(ZEL_XDAQ_GetMeasVal),
        EXPORT(ZEL_XDAQ_GetMeasValBlock),
        EXPORT(ZEL_XDAQ_GetMeasValByType),
        EXPORT(ZEL_XDAQ_GetSignalList),
        EXPORT(ZEL_XDAQ_GetSignalListEx),
        EXPORT(ZEL_XDAQ_GetSignalListString),
        EXPORT(ZEL_XDAQ_OpenSubscription),
        EXPORT(ZEL_XDAQ_WaitForTrigger),
        EXPORT(ZEL_XPAR_ActivateAllDefaultSettings),
        EXPORT(ZEL_XPAR_ActivateDefaultSetting),
        EXPORT(ZEL_XPAR_GetLastErrMsg),
        EXPORT(ZEL_XPAR_GetLastErrMsgByUuid),
        EXPORT(ZEL_XPAR_GetMaxCount),
        EXPORT(ZEL_XPAR_GetParViews),
        EXPORT(ZEL_XPAR_GetParViewsString),
        EXPORT(ZEL_XPAR_ReadPar),
        EXPORT(ZEL_XPAR_ReadTedsBinary),
        EXPORT(ZEL_XPAR_ReadXML),
        EXPORT(ZEL_XPAR_ReadXMLSect),
        EXPORT(ZEL_XPAR_ReadXSD),
        EXPORT(ZEL_XPAR_ReadXSDSect),
        EXPORT(ZEL_XPAR_ReadXSLT),
        EXPORT(ZEL_XPAR_WriteDoublePar),
        EXPORT(ZEL_XPAR_WriteIntPar),
        EXPORT(ZEL_XPAR_WriteStringPar),
        EXPORT(ZEL_XPAR_WriteTedsBinary, {3}),
        EXPORT(ZEL_XPAR_WriteXML),
        EXPORT(ZEL_XPAR_WriteXMLSect),
        EXPORT(ZEL_XSTAT_GetConnectedModules),
        EXPORT(ZEL_XSTAT_GetErrorStatus),
        EXPORT(ZEL_XSTAT_GetErrorStatusEx),
        EXPORT(ZEL_XSTAT_GetErrorStatusString, {1, 2}),
        EXPORT(ZEL_XSTAT_GetModuleStatus),
        EXPORT(ZEL_XSTAT_GetModuleStatusEx),
        EXPORT(ZEL_XSTAT_GetModuleStatusString, {1, 2}),
        EXPORT(ZEL_XSTAT_GetTedsStatus),
        EXPORT(ZEL_XSTAT_GetTopology),
        EXPORT(ZEL_XSTAT_GetTopologyString),
        EXPORT(ZEL_XSYS_DoRestartSystem),
        EXPORT(ZEL_XSYS_GetBackgroundServiceResult),
        EXPORT(ZEL_XSYS_GetFlashStatus),
        EXPORT(ZEL_XSYS_GetTr620CalUgMeasUx),
        EXPORT(ZEL_XSYS_GetTr620RgRx),
        EXPORT(ZEL_XSYS_ReadFile),
        EXPORT(ZEL_XSYS_RequestDebugInfo),
        EXPORT(ZEL_XSYS_SetSimValue),
        EXPORT(ZEL_XSYS_StartFlashing),
        EXPORT(ZEL_XSYS_StartMSPFlashing),
        EXPORT(ZEL_XSYS_WriteFile),
        EXPORT(ZEL_XSYS_WriteFirmware),
    };
    return exports;
}

class LibraryFrame : public testing::Test {
protected:
    void TearDown() override
    {
        ZEL_Unload();
        EXPECT_EQ(zel::manager(), nullptr);
    }
};

TEST_F(LibraryFrame, RefusesEveryCallThatNeedsAStartedLibraryBeforeItLooksAtArguments)
{
    for (const bool wasStarted : {false, true}) {
        if (wasStarted) {
            ZEL_Init();
            ZEL_Unload();
        }
        for (const Export& entry : startedExports())
            EXPECT_EQ(entry.callWithNothing(), -1016035) << entry.name << wasStarted;
    }
}

TEST_F(LibraryFrame, RefusesEveryNullPointerByItself)
{
    ZEL_Init();
    for (const Export& entry : startedExports())
        for (std::size_t i = 0; i < entry.callsWithoutOnePointer.size(); ++i)
            EXPECT_EQ(entry.callsWithoutOnePointer[i](), -1016045) << entry.name << " " << i;
}

TEST_F(LibraryFrame, TakesASizeOfZeroForAMissingArgumentWhereTheCallNeedsIt)
{
    ZEL_Init();
    char text[8];
    std::uint64_t length = 0;
    ZEL_ConnectedModule module;
    EXPECT_EQ(ZEL_XCOM_DoNetScan(0, text, &length, 0), -1016045);
    EXPECT_EQ(ZEL_XCOM_ReadNetSetting(1, text, &length, 0), -1016045);
    EXPECT_EQ(ZEL_XPAR_ReadXMLSect(1, 1, 0, "Amplifier", text, &length, 0), -1016045);
    EXPECT_EQ(ZEL_XDAQ_GetMeasValBlock(1, text, &length, 0), -1016045);
    EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(1, &module, &length, 0), -1016045);
    EXPECT_EQ(ZEL_XSTAT_GetTopologyString(text, &length, 0), -1016045);
}

TEST_F(LibraryFrame, RefusesControlAndTedsArgumentsThatCannotMakeARequest)
{
    ZEL_Init();
    char tid[17];
    EXPECT_EQ(ZEL_XCTRL_Execute(1, "SETZERO", 0, 1, nullptr), -1016045);
    EXPECT_EQ(ZEL_XPAR_WriteTedsBinary(1, 1, tid, nullptr, 8), -1000255);
}

TEST_F(LibraryFrame, WorksWithoutBeingStartedWhereThatIsPromised)
{
    std::uint64_t length = 7;
    char text[8];
    EXPECT_EQ(ZEL_XCOM_GetNetAdapter(nullptr, &length, 8), -1016045);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(ZEL_XCOM_DoFirewireScan(text, 0, &length), -1016045);
    EXPECT_EQ(ZEL_XCOM_ScanFirewireSegment(nullptr), -1016045);
    EXPECT_EQ(ZEL_XCTRL_SetPllVoltage(1, 2), 0);
    EXPECT_EQ(ZEL_XUTIL_SetWorkDir(nullptr), 0);
    ZEL_XCOM_DisableZELDevice();

    const std::uint64_t uuid = ZEL_XCOM_GetOwnUUID();
    ZEL_Init();
    EXPECT_EQ(ZEL_XCOM_GetOwnUUID(), uuid);
    EXPECT_EQ(uuid & 0x0000FFFFFF000000U, 0U);
}

TEST_F(LibraryFrame, ReadsADoubleOnlyWithPointersAndThenOnlyWhenStarted)
{
    double value = 3.0;
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(1, 1, nullptr, "Range", &value), -1016045);
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(1, 1, "Amplifier", nullptr, &value), -1016045);
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(1, 1, "Amplifier", "Range", nullptr), -1016045);
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(1, 1, "Amplifier", "Range", &value), -1016035);
    ZEL_Init();
    EXPECT_EQ(ZEL_XPAR_ReadDoublePar(1, 1, "Amplifier", "Range", &value), -1000500);
    EXPECT_EQ(value, 3.0);
}

TEST_F(LibraryFrame, SetsTheModuleCountEvenWhenItRefuses)
{
    std::uint64_t count = 7;
    EXPECT_EQ(ZEL_XSTAT_GetConnectedModules(ZEL_NO_MODULE, nullptr, &count, 0), -1016035);
    EXPECT_EQ(count, 0U);
}

TEST_F(LibraryFrame, StartsOnceHoweverOftenAndByWhomeverItIsAsked)
{
    for (int round = 0; round < 20; ++round) {
        std::vector<std::thread> hosts;
        for (int i = 0; i < 4; ++i)
            hosts.emplace_back([] { EXPECT_EQ(ZEL_Init(), 1); });
        for (std::thread& host : hosts)
            host.join();
        const zel::clSystemMgr* const first = zel::manager();
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(ZEL_Init(), 1);
        EXPECT_EQ(zel::manager(), first);

        ZEL_Unload();
        EXPECT_EQ(zel::manager(), nullptr);
        ZEL_Unload();
    }
}

/// While it lives no thread starts.
class NoThreads {
#ifdef _WIN32
public:
    // As inside a DllMain.
    NoThreads()
    {
        found<LONG(ULONG, ULONG*, ULONG_PTR*)>("LdrLockLoaderLock")(0, nullptr, &m_cookie);
    }
    ~NoThreads()
    {
        found<LONG(ULONG, ULONG_PTR)>("LdrUnlockLoaderLock")(0, m_cookie);
    }

private:
    template <class Function>
    static Function* found(const char* name)
    {
        const FARPROC address = GetProcAddress(GetModuleHandleA("ntdll.dll"), name);
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
    }

    ULONG_PTR m_cookie = 0;
#else
public:
    NoThreads()
    {
        EXPECT_EQ(pthread_getattr_default_np(&m_usual), 0);
        pthread_attr_t absurd = m_usual;
        EXPECT_EQ(pthread_attr_setstacksize(&absurd, std::size_t{1} << 60), 0);
        EXPECT_EQ(pthread_setattr_default_np(&absurd), 0);
    }
    ~NoThreads()
    {
        EXPECT_EQ(pthread_setattr_default_np(&m_usual), 0);
    }

private:
    pthread_attr_t m_usual;
#endif
};

TEST_F(LibraryFrame, StaysStoppedWhenItGetsNoThreadAndStartsWhenItDoes)
{
    {
        const NoThreads noThreads;
        EXPECT_THROW(ZEL_Init(), std::system_error);
    }
    EXPECT_EQ(zel::manager(), nullptr);
    EXPECT_EQ(ZEL_XCOM_Disconnect(42), -1016035);
    EXPECT_EQ(ZEL_Init(), 1);
    EXPECT_EQ(ZEL_XCOM_Disconnect(42), -1000500);
}

// The address sanitizer needs descriptors of its own to look at objects, and stumbles over the
// stack of a cancelled thread.
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)

/// While it lives the process can open so many descriptors more.
class DescriptorsLeft {
public:
    explicit DescriptorsLeft(int count)
    {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &m_usual), 0);
        // The lowest free numbers, in ascending order.
        std::vector<int> taken;
        while (taken.size() <= static_cast<std::size_t>(count))
            taken.push_back(dup(STDERR_FILENO));
        rlimit limit = m_usual;
        limit.rlim_cur = static_cast<rlim_t>(taken.back());
        for (const int descriptor : taken)
            close(descriptor);
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    ~DescriptorsLeft() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &m_usual), 0); }

private:
    rlimit m_usual{};
};

TEST_F(LibraryFrame, SaysThatTheHostHasNoDescriptorsLeft)
{
    setenv("ZEL_SCAN_TIME", "50", 1);
    const std::size_t before = zel::test::processFacts().descriptors;
    char text[4096];
    std::uint64_t length = 0;
    for (int left = 0; left <= 7; ++left) {
        const DescriptorsLeft few{left};
        try {
            EXPECT_EQ(ZEL_Init(), 1);
            EXPECT_EQ(left, 7);
        } catch (const std::system_error& failure) {
            EXPECT_EQ(failure.code(), std::errc::too_many_files_open);
            EXPECT_LT(left, 7);
        }
        EXPECT_EQ(zel::manager() != nullptr, left == 7);
    }
    {
        const DescriptorsLeft none{0};
        EXPECT_EQ(ZEL_XCOM_GetNetAdapter(text, &length, sizeof text), -1016002);
        EXPECT_EQ(ZEL_XCOM_DoNetScan(ZEL_ALL_ADAPTERS, text, &length, sizeof text), -1016002);
        EXPECT_EQ(ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", 1, &length), -1000620);
    }
    EXPECT_EQ(ZEL_XCOM_DoNetScan(ZEL_ALL_ADAPTERS, text, &length, sizeof text), 0);
    EXPECT_NE(ZEL_XCOM_GetOwnUUID(), ZEL_NO_MODULE);
    ZEL_Unload();
    EXPECT_EQ(zel::test::processFacts().descriptors, before);
}

TEST_F(LibraryFrame, FinishesACallWhoseThreadIsCancelled)
{
    pthread_t host;
    void* result = nullptr;
    const auto call = [](void* done) -> void* {
        std::uint64_t uuid = 0;
        pthread_cancel(pthread_self());
        ZEL_Init();
        *static_cast<std::int32_t*>(done) = ZEL_XCOM_ConnectToTcpIpDev("127.0.0.1", 1, &uuid);
        ZEL_Unload();
        pthread_testcancel();
        return done;
    };
    std::int32_t done = 0;
    ASSERT_EQ(pthread_create(&host, nullptr, call, &done), 0);
    ASSERT_EQ(pthread_join(host, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(done, -1000620);
}
#endif

} // namespace
