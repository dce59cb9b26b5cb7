#include "module_files.h"

#include "host_file.h"
#include "process_wide.h"
#include "request_document.h"
#include "text_response.h"
#include "ZEL_VR_Framework.h"

#include <map>
#include <memory>
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

struct TransferMutexes {
    std::mutex mutex;
    std::map<std::uint64_t, std::weak_ptr<std::mutex>> ofModules; // under mutex
};

// A module has one chosen file: choosing it and moving its bytes must not mix with another
// thread's. No module waits for another.
std::shared_ptr<std::mutex> transferMutex(std::uint64_t uuid)
{
    static ProcessWide<TransferMutexes> mutexes;
    const std::lock_guard lock{mutexes->mutex};
    std::erase_if(mutexes->ofModules, [](const auto& known) { return known.second.expired(); });
    std::weak_ptr<std::mutex>& known = mutexes->ofModules[uuid];
    std::shared_ptr<std::mutex> mutex = known.lock();
    if (!mutex)
        known = mutex = std::make_shared<std::mutex>();
    return mutex;
}

std::int32_t choose(const RequestPath& requests, std::uint64_t uuid, const char* folder,
                    const char* name)
{
    const std::string path = *folder == '\0' ? name : std::string{folder} + "/" + name;
    return send(requests, {uuid, kService, method::kSetFilePath},
                RequestDocument{}.addText("FilePath", path).take());
}

Response fetch(const RequestPath& requests, std::uint64_t uuid, const char* folder,
               const char* name)
{
    const std::shared_ptr<std::mutex> mutex = transferMutex(uuid);
    const std::lock_guard oneAtATime{*mutex};
    const std::int32_t chosen = choose(requests, uuid, folder, name);
    if (hasFailed(chosen))
        return {chosen, nullptr};
    Response response = sendForResponse(requests, {uuid, kService, method::kReadFile}, {});
    response.result = firstOf(chosen, response.result);
    return response;
}

} // namespace

std::int32_t write(const RequestPath& requests, std::uint64_t uuid, const char* hostFile,
                   const char* moduleFolder, const char* moduleFile)
{
    std::string content;
    if (const std::int32_t result = readHostFile(hostPath(hostFile), kLongestRequest, content);
        result != ZEL_OK)
        return result;
    const std::shared_ptr<std::mutex> mutex = transferMutex(uuid);
    const std::lock_guard oneAtATime{*mutex};
    const std::int32_t result = choose(requests, uuid, moduleFolder, moduleFile);
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
    const Response response = fetch(requests, uuid, moduleFolder, moduleFile);
    if (hasFailed(response.result))
        return response.result;
    const Bytes content = response.payload();
    return firstOf(response.result, file.write(content.data(), content.size()));
}

} // namespace zel::module_files
