#include "module_files.h"

#include "host_file.h"
#include "process_wide.h"
#include "request_document.h"
#include "text_response.h"
#include "ZEL_VR_Framework.h"

#include <array>
#include <functional>
#include <limits>
#include <mutex>
#include <string>

namespace zel::module_files {

namespace {

constexpr std::uint16_t kService = 6;

namespace method {
constexpr std::uint16_t kSetFilePath = 19;
constexpr std::uint16_t kWriteFile = 20;
constexpr std::uint16_t kReadFile = 21;
} // namespace method

// The length of a request is announced in 32 bits, the method header included.
constexpr std::uint64_t kLargestFile = std::numeric_limits<std::uint32_t>::max() - 4;

// A module has one chosen file: choosing it and moving its bytes must not mix with another
// thread's. Modules that share a lock only wait for each other.
std::mutex& transferMutex(std::uint64_t uuid)
{
    static ProcessWide<std::array<std::mutex, 64>> mutexes;
    return (*mutexes)[std::hash<std::uint64_t>{}(uuid) % mutexes->size()];
}

std::int32_t choose(const RequestPath& requests, std::uint64_t uuid, const char* folder,
                    const char* name)
{
    const std::string path = *folder == '\0' ? name : std::string{folder} + "/" + name;
    return send(requests, {uuid, kService, method::kSetFilePath},
                RequestDocument{}.addText("FilePath", path).take());
}

} // namespace

std::int32_t write(const RequestPath& requests, std::uint64_t uuid, const char* hostFile,
                   const char* moduleFolder, const char* moduleFile)
{
    std::string content;
    std::int32_t result = readHostFile(hostPath(hostFile), kLargestFile, content);
    const std::lock_guard oneAtATime{transferMutex(uuid)};
    if (result == ZEL_OK)
        result = choose(requests, uuid, moduleFolder, moduleFile);
    if (hasFailed(result))
        return result;
    return firstOf(result,
                   send(requests, {uuid, kService, method::kWriteFile}, std::move(content)));
}

std::int32_t read(const RequestPath& requests, std::uint64_t uuid, const char* moduleFolder,
                  const char* moduleFile, const char* hostFile)
{
    HostFileWriter file{hostPath(hostFile)};
    if (!file.isOpen())
        return ZEL_FILE_OPEN;
    const std::lock_guard oneAtATime{transferMutex(uuid)};
    const std::int32_t result = choose(requests, uuid, moduleFolder, moduleFile);
    if (hasFailed(result))
        return result;
    const Response response = sendForResponse(requests, {uuid, kService, method::kReadFile}, {});
    if (hasFailed(response.result))
        return response.result;
    const Bytes content = response.payload();
    return firstOf(firstOf(result, response.result), file.write(content.data(), content.size()));
}

} // namespace zel::module_files
