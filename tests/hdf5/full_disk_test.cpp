// A disk that becomes full at any point of a recording, and has room again.
#ifndef _WIN32

#include "hdf5_reader.h"
#include "hdf5_sink.h"
#include "synthetic_recording.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace zel::test {
namespace {

using namespace acquisition;

constexpr std::uint64_t kPoints = 6;

/// What the file system can do beside writing.
enum class Disk { reserves, tellsRoom, onlyWrites };

/// For the calling thread a system call fails from now on.
void forbid(unsigned call, unsigned error)
{
    std::array<sock_filter, 4> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0) << std::strerror(errno);
}

/// 16 MiB, of which a second file leaves as much as wanted.
class FullDisk : public testing::TestWithParam<Disk> {
protected:
    void SetUp() override
    {
        ASSERT_EQ(mount("none", m_folder.c_str(), "tmpfs", 0, "size=16m"), 0)
            << std::strerror(errno) << ": run this in scripts/in-private-network.sh";
    }
    void TearDown() override
    {
        umount(m_folder.c_str());
        std::filesystem::remove(m_folder);
    }

    std::uint64_t room() const { return std::filesystem::space(m_folder).available; }
    void leave(std::uint64_t bytes)
    {
        free();
        std::filesystem::remove(m_path);
        const int file = open(m_ballast.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_EQ(posix_fallocate(file, 0, static_cast<off_t>(room() - bytes)), 0);
        close(file);
    }
    void free() { std::filesystem::remove(m_ballast); }

    /// With what the disk can do taken from the thread that it runs on.
    static void onDisk(Disk disk, const std::function<void()>& work)
    {
        std::thread([&] {
            if (disk != Disk::reserves)
                forbid(SYS_fallocate, EOPNOTSUPP);
            if (disk == Disk::onlyWrites)
                forbid(SYS_statfs, ENOSYS);
            work();
        }).join();
    }

    /// Writes and flushes until there is no room, and then some times in vain.
    void fill(Hdf5Sink& sink)
    {
        int refusals = 0;
        for (std::uint64_t step = 0; refusals < 4; ++step) {
            if (!m_next)
                m_next = m_recording.next();
            if (sink.write(*m_next)) {
                m_taken.add(*m_next);
                m_next.reset();
            } else {
                ++refusals;
            }
            if (step % 3 == 0 || refusals != 0) {
                const bool isFlushed = sink.flush();
                refusals += isFlushed ? 0 : 1;
                if (isFlushed)
                    m_flushed = m_taken;
            }
        }
    }
    void record(Hdf5Sink& sink, int steps)
    {
        for (; steps > 0; --steps) {
            if (!m_next)
                m_next = m_recording.next();
            ASSERT_TRUE(sink.write(*m_next));
            m_taken.add(*m_next);
            m_next.reset();
        }
    }

    const std::string m_folder = [] {
        std::string name = std::filesystem::temp_directory_path() / "zel-disk-XXXXXX";
        return std::string(mkdtemp(name.data()));
    }();
    const std::string m_ballast = m_folder + "/ballast";
    const std::string m_path = m_folder + "/run.h5";
    SyntheticRecording m_recording;
    std::optional<Batch> m_next;
    Collected m_taken;
    Collected m_flushed;
};

TEST_P(FullDisk, LosesNothingAndGoesOnWhenThereIsRoom)
{
    for (std::uint64_t point = 0; point < kPoints; ++point) {
        m_recording = {};
        m_next.reset();
        m_taken = m_flushed = {};
        leave(3'000'000 + point * 7919);
        onDisk(GetParam(), [&] {
            Hdf5Sink sink({.path = m_path, .mayReplace = true, .deflate = point % 3 == 2 ? 6U : 0U},
                          SyntheticRecording::setup());
            fill(sink);
            free();
            record(sink, 200);
            ASSERT_TRUE(sink.flush());
            sink.finish("");
        });
        EXPECT_TRUE(Collected::ofFile(m_path) == m_taken) << point;
    }
}

TEST_P(FullDisk, KeepsWhatWasFlushedWhenItStaysFull)
{
    for (std::uint64_t point = 0; point < kPoints; ++point) {
        m_recording = {};
        m_next.reset();
        m_taken = m_flushed = {};
        leave(3'000'000 + point * 7919);
        bool isFinished = false;
        onDisk(GetParam(), [&] {
            Hdf5Sink sink({.path = m_path, .mayReplace = true}, SyntheticRecording::setup());
            fill(sink);
            try {
                sink.finish("");
                isFinished = true;
            } catch (const SinkFailure&) {
            }
        });
        EXPECT_TRUE(isFinished || GetParam() != Disk::reserves);
        const Collected& expected = isFinished ? m_taken : m_flushed;
        const auto isExpected = [&] {
            const Collected found = Collected::ofFile(m_path);
            return found.isSame(expected, 0) && found.isSame(expected, 1);
        };
        EXPECT_TRUE(isExpected()) << point;
        free();
        EXPECT_EQ(repairHdf5(m_path), isFinished ? Repair::wasFine : Repair::closed);
        EXPECT_TRUE(isExpected()) << point;
    }
}

TEST_P(FullDisk, IsSaidWhereNotEvenTheBeginningHasRoom)
{
    leave(20'000);
    onDisk(GetParam(), [&] {
        EXPECT_THROW(Hdf5Sink({.path = m_path}, SyntheticRecording::setup()), SinkFailure);
    });
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

INSTANTIATE_TEST_SUITE_P(, FullDisk,
                         testing::Values(Disk::reserves, Disk::tellsRoom, Disk::onlyWrites));

} // namespace
} // namespace zel::test

#endif
