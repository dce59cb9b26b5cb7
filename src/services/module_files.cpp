#include "module_files.h"

#include "host_file.h"
#include "mutex.h"
#include "process_wide.h"
#include "request_document.h"
#include "service_call.h"
#include "ZEL_VR_Framework.h"

#include <map>
#include <mutex>
#include <string>

namespace zel::module_files {

using wire::SystemMethod;

namespace {

/// A module has one chosen file: choosing it and moving its bytes must not mix with another
/// thread's. No module waits for another.
class Turn {
public:
    explicit Turn(std::uint64_t uuid) : m_uuid(uuid)
    {
        Transfers& transfers = transfersOfAll();
        {
            const std::lock_guard lock{transfers.mutex};
            m_transfer = &transfers.ofModules[uuid];
            ++m_transfer->threads;
        }
        m_transfer->mutex.lock();
    }
    ~Turn()
    {
        m_transfer->mutex.unlock();
        Transfers& transfers = transfersOfAll();
        const std::lock_guard lock{transfers.mutex};
        if (--m_transfer->threads == 0)
            transfers.ofModules.erase(m_uuid);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    struct Transfer {
        Mutex mutex;
        unsigned threads = 0; // that have it or wait for it; under Transfers::mutex
    };
    struct Transfers {
        Mutex mutex;
        std::map<std::uint64_t, Transfer> ofModules; // under mutex
    };

    static Transfers& transfersOfAll()
    {
        static ProcessWide<Transfers> transfers;
        return *transfers;
    }

    const std::uint64_t m_uuid;
    Transfer* m_transfer = nullptr;
};

std::int32_t choose(const RemoteModule& module, const char* folder, const char* name)
{
    const std::string path = *folder == '\0' ? name : std::string{folder} + "/" + name;
    return send(module, SystemMethod::setFilePath,
                clRequestDocument{}.addText("FilePath", path).take());
}

Response fetch(const RemoteModule& module, const char* folder, const char* name)
{
    const Turn oneAtATime{module.uuid};
    const std::int32_t chosen = choose(module, folder, name);
    if (hasFailed(chosen))
        return {chosen, nullptr};
    Response response = sendForResponse(module, SystemMethod::readFile, {});
    response.result = firstOf(chosen, response.result);
    return response;
}

} // namespace

std::int32_t write(const RemoteModule& module, const char* hostFile, const char* moduleFolder,
                   const char* moduleFile)
{
    std::string content;
    if (const std::int32_t result = readHostFile(hostPath(hostFile), kLongestRequest, content);
        result != ZEL_OK)
        return result;
    const Turn oneAtATime{module.uuid};
    const std::int32_t result = choose(module, moduleFolder, moduleFile);
    if (hasFailed(result))
        return result;
    return firstOf(result, send(module, SystemMethod::writeFile, std::move(content)));
}

std::int32_t read(const RemoteModule& module, const char* moduleFolder, const char* moduleFile,
                  const char* hostFile)
{
    clHostFileWriter file{hostPath(hostFile)};
    if (!file.isOpen())
        return ZEL_FILE_OPEN;
    const Response response = fetch(module, moduleFolder, moduleFile);
    if (hasFailed(response.result))
        return response.result;
    const Bytes content = response.payload();
    return firstOf(response.result, file.write(content.data(), content.size()));
}

} // namespace zel::module_files
