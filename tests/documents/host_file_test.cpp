// Files of the host that several calls want at the same time, and names that are no plain files.

#include "host_file.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#ifdef __linux__
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#else
#include <windows.h>
#endif

#include <gtest/gtest.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

class HostFiles : public testing::Test {
protected:
    HostFiles() : m_folder(hostPath(testing::TempDir() + "zel-host-files-\xC3\xA4"))
    {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
    }
    ~HostFiles() override { fs::remove_all(m_folder); }

    static std::int32_t write(const fs::path& file, const std::string& content)
    {
        clHostFileWriter writer{file};
        return writer.isOpen() ? writer.write(content.data(), content.size()) : ZEL_FILE_OPEN;
    }
    static std::string get(const fs::path& file)
    {
        std::ifstream in{file, std::ios::binary};
        return {std::istreambuf_iterator<char>{in}, {}};
    }

    const fs::path m_folder;
    const fs::path m_file = m_folder / "file";
};

TEST_F(HostFiles, ThatSeveralCallsMadeGoWithTheLastThatFails)
{
    auto first = std::make_unique<clHostFileWriter>(m_file);
    auto second = std::make_unique<clHostFileWriter>(m_file);
    first.reset();
    EXPECT_TRUE(fs::exists(m_file)) << "the second still wants it";
    EXPECT_EQ(second->write("second", 6), ZEL_OK);
    second.reset();
    EXPECT_EQ(get(m_file), "second");
    {
        const clHostFileWriter third{m_file};
    }
    EXPECT_EQ(get(m_file), "second");
    fs::remove(m_file);

    first = std::make_unique<clHostFileWriter>(m_file);
    second = std::make_unique<clHostFileWriter>(m_file);
    first.reset();
    second.reset();
    EXPECT_FALSE(fs::exists(m_file));

    // Somebody else, who does not ask.
    first = std::make_unique<clHostFileWriter>(m_file);
    std::ofstream{m_file} << "stranger's";
    first.reset();
    EXPECT_EQ(get(m_file), "stranger's");
}

TEST_F(HostFiles, HoldOneCallsContentWholeHoweverManyWrite)
{
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'e'; ++letter) {
        threads.emplace_back([&, letter] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(write(m_file,
                                std::string(30000u * static_cast<unsigned>(letter - '`'), letter)),
                          ZEL_OK);
                const clHostFileWriter fails{m_folder / "other"};
                EXPECT_TRUE(fails.isOpen());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::string content = get(m_file);
    ASSERT_FALSE(content.empty());
    EXPECT_EQ(content, std::string(30000u * static_cast<unsigned>(content[0] - '`'), content[0]));
    EXPECT_FALSE(fs::exists(m_folder / "other"));
}

#ifdef __linux__
TEST_F(HostFiles, MustNotBePipesAndMayBeLinksOrDevices)
{
    ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(write(m_file, "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(write("/dev/full", "x"), ZEL_FILE_WRITE);
    const fs::path link = m_folder / "link";
    fs::create_symlink("target", link);
    {
        const clHostFileWriter fails{link};
    }
    EXPECT_FALSE(fs::exists(m_folder / "target"));
    EXPECT_EQ(write(link, "through"), ZEL_OK);
    EXPECT_EQ(get(m_folder / "target"), "through");
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(HostFiles, ThatThereIsNoRoomForAreNotLeftHalfWritten)
{
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit little{1000, before.rlim_max};
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    EXPECT_EQ(write(m_file, std::string(5000, 'x')), ZEL_FILE_WRITE);
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_EQ(write(m_file, "small"), ZEL_OK);
    EXPECT_EQ(write(m_file, std::string(5000, 'x')), ZEL_FILE_WRITE);
    EXPECT_LT(get(m_file).size(), 1000u); // not every file system can tell beforehand
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, ignored);
}
#else
TEST_F(HostFiles, MustBeOnesThatMayBeWritten)
{
    ASSERT_EQ(write(m_file, "what was there"), ZEL_OK);
    for (const char* const device : {"NUL", "\\\\.\\pipe\\zel", "\\\\.\\C:"})
        EXPECT_EQ(write(device, "x"), ZEL_FILE_OPEN) << device;
    const std::unique_ptr<void, decltype(&CloseHandle)> reader{
        CreateFileW(m_file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                    nullptr),
        &CloseHandle};
    EXPECT_EQ(write(m_file, "x"), ZEL_FILE_OPEN);
    EXPECT_EQ(get(m_file), "what was there");
}
#endif

} // namespace
} // namespace zel
