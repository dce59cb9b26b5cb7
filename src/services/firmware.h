#pragma once

#include "method_request.h"

#include <cstdint>
#include <span>

namespace zel::firmware {

/// One image of a firmware update.
struct Image {
    const char* name; // of its file in the caller's folder
    std::uint32_t type;
    const char* modulePath;
    std::uint64_t largestSize; // bytes
};

/// In the order of the transfer; an image is announced by its position here. The spellings are the
/// modules'.
std::span<const Image> imageTable();

/// Sends the images of a folder, one transfer at a time in the whole library. Images that are not
/// there are skipped; what has been sent stays on the module when a later one fails.
/// ZEL_FILE_NOT_FOUND where there is none at all, ZEL_FILE_OPEN, ZEL_FILE_READ,
/// ZEL_SYS_FILE_TOO_LARGE, or the failing request's result.
std::int32_t transfer(const RemoteModule& module, const char* folder);

} // namespace zel::firmware
