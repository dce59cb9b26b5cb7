#include "host_file.h"

#include "mutex.h"
#include "process_wide.h"
#include "ZEL_VR_Framework.h"

#include <exception>
#include <fstream>
#include <map>
#include <mutex>
#include <system_error>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 20;
constexpr int kAttempts = 30; // to open what others make and remove meanwhile

} // namespace

std::filesystem::path hostPath(std::string_view name)
{
    try {
        return {std::u8string(name.begin(), name.end())};
    } catch (const std::system_error&) {
        return {};
    }
}

std::int32_t readHostFile(const std::filesystem::path& file, std::uint64_t largest,
                          std::string& content)
{
    content.clear();
    std::error_code failure;
    // Opening a pipe would wait for whoever writes into it.
    if (!std::filesystem::is_regular_file(file, failure))
        return ZEL_FILE_OPEN;
    std::ifstream in{file, std::ios::binary};
    if (!in)
        return ZEL_FILE_OPEN;
    // To the end, whatever size the system tells: some files have none.
    while (in.good() && content.size() <= largest) {
        const std::size_t before = content.size();
        content.resize(before + kChunk);
        in.read(content.data() + before, static_cast<std::streamsize>(kChunk));
        content.resize(before + static_cast<std::size_t>(in.gcount()));
    }
    const bool isTooLarge = content.size() > largest;
    if (!in.bad() && !isTooLarge)
        return ZEL_OK;
    content = {};
    return isTooLarge ? ZEL_SYS_FILE_TOO_LARGE : ZEL_FILE_READ;
}

struct clHostFileWriter::Shared {
    Mutex writing;

    // under OpenFiles::mutex
    unsigned writers = 0;
    std::filesystem::path madeAs; // empty where the file was there before, or has been written
};

/// The files that writers have open.
struct clHostFileWriter::OpenFiles {
    Mutex mutex;
    std::map<FileIdentity, std::shared_ptr<Shared>> files; // under mutex
};

clHostFileWriter::OpenFiles& clHostFileWriter::openFiles()
{
    static ProcessWide<OpenFiles> files;
    return *files;
}

clHostFileWriter::clHostFileWriter(const std::filesystem::path& file) : m_file(file)
{
    for (int attempt = 1;; ++attempt) {
        const clOutputFile::Opening opening = m_output.open(m_file);
        if (opening == clOutputFile::Opening::failed)
            return;
        const bool isMade = opening == clOutputFile::Opening::made;
        try {
            join(m_output.identity(), isMade);
        } catch (const std::exception&) {
            if (isMade)
                m_output.closeAndRemoveEmpty(m_file);
            throw;
        }
        // Whoever made it may have removed it before this writer was known to it. Some network file
        // systems do not know a file again.
        if (m_output.isAt(m_file) || attempt == kAttempts)
            return;
        leave();
    }
}

clHostFileWriter::~clHostFileWriter()
{
    if (m_shared)
        leave();
}

std::int32_t clHostFileWriter::write(const void* data, std::size_t size)
{
    const std::lock_guard oneAfterTheOther{m_shared->writing};
    if (!m_output.replace(data, size))
        return ZEL_FILE_WRITE;
    const std::lock_guard lock{openFiles().mutex};
    m_shared->madeAs.clear();
    return ZEL_OK;
}

void clHostFileWriter::join(FileIdentity identity, bool isMade)
{
    std::filesystem::path madeAs = isMade ? clOutputFile::realName(m_file) : m_file;
    auto fresh = std::make_shared<Shared>();
    const std::lock_guard lock{openFiles().mutex};
    std::shared_ptr<Shared>& shared = openFiles().files[identity];
    if (!shared)
        shared = std::move(fresh);
    m_identity = identity;
    m_shared = shared;
    ++shared->writers;
    if (isMade)
        shared->madeAs = std::move(madeAs);
}

void clHostFileWriter::leave()
{
    // Removed under the lock: a new writer either is among the writers already or finds it gone.
    const std::lock_guard lock{openFiles().mutex};
    if (--m_shared->writers == 0) {
        if (!m_shared->madeAs.empty())
            m_output.closeAndRemoveEmpty(m_shared->madeAs);
        openFiles().files.erase(m_identity);
    }
    m_output.close();
    m_shared.reset();
}

} // namespace zel
