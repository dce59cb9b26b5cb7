#include "firmware.h"

#include "host_file.h"
#include "mutex.h"
#include "process_wide.h"
#include "request_document.h"
#include "service_call.h"
#include "ZEL_VR_Framework.h"

#include <fstream>
#include <mutex>

namespace zel::firmware {

namespace {

constexpr std::uint32_t kBootEnvironment = 6;

constexpr Image kImages[] = {
    {"pImage_bak", 1, "./update/pImage_bak", 0x100000},
    {"rootfs_bak.initrd", 2, "./update/rootfs_bak.initrd", 0x400000},
    {"pImage", 1, "./update/pImage", 0x100000},
    {"rootfs.initrd", 2, "./update/rootfs.initrd", 0x600000},
    {"emptyfile.bin", 8, "./update/emtyfile.bin", 0x300000},
    {"afcdev.bin", 3, "./update/afcdev.bin", 0x100000},
    {"MspAppl.bin", 4, "./update/MspAppl.bin", 0x10000},
    {"MspLoader.bin", 5, "./update/MspLoader.bin", 0x10000},
    {"ubootenv.bin", kBootEnvironment, "./update/ubootenv.bin", 0x20000},
    {"uboot.bin", 7, "./update/uboot.bin", 0x40000},
    {"NecAppl.bin", 9, "./update", 0x100000},
    {"NecLoader.bin", 10, "./update/NecLoader.bin", 0x100000},
    {"FirmwareUpdate.xml", 11, "", 100000},
};

Mutex& transferMutex()
{
    static ProcessWide<Mutex> mutex;
    return *mutex;
}

// The boot environment is opened for writing as well, and left as it is: one that may not be
// changed belongs to another update.
std::int32_t prepareBootEnvironment(const std::filesystem::path& file)
{
    const std::fstream environment{file, std::ios::binary | std::ios::in | std::ios::out};
    return environment.is_open() ? ZEL_OK : ZEL_FILE_OPEN;
}

std::int32_t readImage(const Image& image, const std::filesystem::path& file, std::string& content)
{
    if (image.type == kBootEnvironment) {
        if (const std::int32_t result = prepareBootEnvironment(file); result != ZEL_OK)
            return result;
    }
    return readHostFile(file, image.largestSize, content);
}

std::int32_t sendImage(const RemoteModule& module, std::size_t index, std::string content)
{
    const std::int32_t result = send(module, wire::SystemMethod::announceImage,
                                     clRequestDocument{}.addNumber("Index", index).take());
    if (hasFailed(result))
        return result;
    return firstOf(result, send(module, wire::SystemMethod::sendImage, std::move(content)));
}

} // namespace

std::span<const Image> imageTable()
{
    return kImages;
}

std::int32_t transfer(const RemoteModule& module, const char* folder)
{
    const std::lock_guard oneAtATime{transferMutex()};
    const std::filesystem::path root = hostPath(folder);
    bool hasSent = false;
    std::int32_t outcome = ZEL_OK;
    for (std::size_t index = 0; index < std::size(kImages); ++index) {
        const std::filesystem::path file = root / kImages[index].name;
        std::error_code ignored;
        if (root.empty() || !std::filesystem::exists(file, ignored))
            continue;
        std::string content;
        std::int32_t result = readImage(kImages[index], file, content);
        if (result == ZEL_OK)
            result = sendImage(module, index, std::move(content));
        if (hasFailed(result))
            return result;
        outcome = firstOf(outcome, result);
        hasSent = true;
    }
    return hasSent ? outcome : ZEL_FILE_NOT_FOUND;
}

} // namespace zel::firmware
