// A process with a started library, in the middle of requests on several threads, has children.
// The address sanitizer does not release at a fork what the parent's threads hold of its memory.
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)

#include "library_with_module.h"

#include <array>
#include <atomic>
#include <latch>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace zel::test {
namespace {

class ForkedChild : public LibraryWithModule {
protected:
    /// What a child finds; the number of the step that went wrong, or 0.
    int live(std::uint64_t parentsModule, std::uint64_t parentsUuid) const
    {
        if (ZEL_XCOM_Disconnect(parentsModule) != ZEL_SYS_NOT_STARTED)
            return 1;
        if (ZEL_XCOM_GetOwnUUID() == parentsUuid)
            return 2;
        if (processFacts().descriptors != m_withoutLibrary)
            return 3;
#ifndef __SANITIZE_THREAD__ // knows no threads of a child
        std::uint64_t module = 0;
        if (ZEL_Init() != 1 ||
            ZEL_XCOM_ConnectToTcpIpDev(m_address.c_str(), m_port, &module) != ZEL_OK ||
            echo(module) != ZEL_OK)
            return 4;
        ZEL_Unload();
#endif
        return processFacts().descriptors == m_withoutLibrary ? 0 : 5;
    }

    // The simulator has no thread in the child that could be asked.
    const std::string m_address = m_module.address();
    const std::uint16_t m_port = m_module.port();
    // The module's end of its parent's connection belongs to the simulator, which is no concern of
    // the library.
    const std::size_t m_withoutLibrary = processFacts().descriptors + 1;
};

TEST_F(ForkedChild, HasALibraryOfItsOwnAndLeavesItsParentsAlone)
{
    const std::uint64_t uuid = connected(m_module);
    const std::uint64_t own = ZEL_XCOM_GetOwnUUID();
    std::atomic<bool> isOver = false;
    std::atomic<int> failures = 0;
    std::latch allAsk{5};
    std::array<std::thread, 4> askers;
    for (std::thread& asker : askers) {
        asker = std::thread{[&] {
            failures += echo(uuid) != ZEL_OK;
            allAsk.count_down();
            while (!isOver)
                failures += echo(uuid) != ZEL_OK || echo(0) != ZEL_CONN_UNKNOWN_UUID;
        }};
    }
    // The C library opens a file for a moment when threads first take memory at the same time; a
    // child that is made just then has it too.
    allAsk.arrive_and_wait();
    for (int i = 0; i < 40; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            _exit(live(uuid, own));
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(m_module.waitForConnections(1, 5s));
    }
    isOver = true;
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(echo(uuid), ZEL_OK);
}

} // namespace
} // namespace zel::test

#endif
