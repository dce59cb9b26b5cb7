#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace zel::test {

/// This program once more, recording; killed at once where it is still there.
class RecorderProcess {
public:
    RecorderProcess(const std::string& path, std::uint64_t steps, bool isCompressed = false);
    ~RecorderProcess();
    RecorderProcess(const RecorderProcess&) = delete;
    RecorderProcess& operator=(const RecorderProcess&) = delete;

    /// Batches that have been flushed, as it says.
    std::uint64_t flushed() const;
    void kill();

private:
    const std::string m_progress;
    std::intptr_t m_process = 0;
};

/// A folder for the files of a test; gone with it.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

} // namespace zel::test
