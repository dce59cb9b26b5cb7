#include "peer_process.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::bench {

namespace {

/// Those that run. Never destroyed: a peer may be one of the last things to go.
std::vector<pid_t>& peers()
{
    static auto& instance = *new std::vector<pid_t>;
    return instance;
}

[[noreturn]] void serve(const PeerProcess::Work& work, int report)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        const std::uint16_t port = work();
        if (write(report, &port, sizeof port) != sizeof port)
            std::_Exit(1);
    } catch (...) {
        std::_Exit(1);
    }
    close(report);
    for (;;)
        pause();
}

cpu_set_t allProcessors()
{
    static const cpu_set_t all = [] {
        cpu_set_t set;
        sched_getaffinity(0, sizeof set, &set);
        return set;
    }();
    return all;
}

cpu_set_t lastProcessor()
{
    const cpu_set_t all = allProcessors();
    std::size_t last = CPU_SETSIZE - 1;
    while (last > 0 && !CPU_ISSET(last, &all))
        --last;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(last, &set);
    return set;
}

void place(const cpu_set_t& own, const cpu_set_t& others)
{
    sched_setaffinity(0, sizeof own, &own);
    for (const pid_t peer : peers())
        for (const auto& thread :
             std::filesystem::directory_iterator("/proc/" + std::to_string(peer) + "/task"))
            sched_setaffinity(std::stoi(thread.path().filename()), sizeof others, &others);
}

} // namespace

PeerProcess::PeerProcess(const Work& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe to a peer");
    m_process = fork();
    if (m_process == 0)
        serve(work, ends[1]);
    peers().push_back(m_process);
    close(ends[1]);
    const bool isUp = read(ends[0], &m_port, sizeof m_port) == sizeof m_port;
    close(ends[0]);
    if (!isUp)
        throw std::runtime_error("a peer does not start");
}

PeerProcess::~PeerProcess()
{
    std::erase(peers(), m_process);
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

Placed::Placed(Placement placement)
{
    const cpu_set_t last = lastProcessor();
    cpu_set_t others = allProcessors();
    CPU_XOR(&others, &others, &last);
    switch (placement) {
    case Placement::unpinned:
        break;
    case Placement::apart:
        place(CPU_COUNT(&others) > 0 ? others : last, last);
        break;
    case Placement::together:
        place(last, last);
        break;
    }
}

Placed::~Placed()
{
    place(allProcessors(), allProcessors());
}

} // namespace zel::bench
