#include "recorder_process.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#else
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace zel::test {

RecorderProcess::RecorderProcess(const std::string& path, std::uint64_t steps, bool isCompressed)
    : m_progress(path + ".progress")
{
#ifdef _WIN32
    std::vector<wchar_t> self(32768);
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    std::wstring command = L"\"" + std::wstring(self.data()) + L"\" --record \"" +
                           std::filesystem::path(path).wstring() + L"\" \"" +
                           std::filesystem::path(m_progress).wstring() + L"\" " +
                           std::to_wstring(steps) + (isCompressed ? L" 6" : L"");
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &start, &process) == 0)
        throw std::runtime_error("cannot start the recorder");
    CloseHandle(process.hThread);
    m_process = reinterpret_cast<std::intptr_t>(process.hProcess);
#else
    const std::string count = std::to_string(steps);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // it goes with this program
        execl("/proc/self/exe", "recorder", "--record", path.c_str(), m_progress.c_str(),
              count.c_str(), isCompressed ? "6" : nullptr, nullptr);
        _exit(127);
    }
    m_process = child;
#endif
}

RecorderProcess::~RecorderProcess()
{
    kill();
}

void RecorderProcess::kill()
{
    if (m_process == 0)
        return;
#ifdef _WIN32
    const auto process = reinterpret_cast<HANDLE>(m_process);
    TerminateProcess(process, 9);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
#else
    ::kill(static_cast<pid_t>(m_process), SIGKILL);
    waitpid(static_cast<pid_t>(m_process), nullptr, 0);
#endif
    m_process = 0;
}

std::uint64_t RecorderProcess::flushed() const
{
    std::ifstream file(m_progress);
    std::uint64_t steps = 0;
    for (std::uint64_t line = 0; file >> line && file.get() == '\n';)
        steps = line;
    return steps;
}

TestFolder::TestFolder()
{
    static std::atomic<int> number = 0;
    const auto time = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto path = std::filesystem::temp_directory_path() /
                      ("zel-hdf5-" + std::to_string(time) + "-" + std::to_string(++number));
    std::filesystem::create_directory(path);
    m_path = path.string();
}

TestFolder::~TestFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace zel::test
