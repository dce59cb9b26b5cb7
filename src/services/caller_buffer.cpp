#include "caller_buffer.h"

#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

CopyOutcome tooSmall(std::uint64_t length)
{
    return {ZEL_SRV_BUFFER_TOO_SMALL, length, false};
}

/// What was received in its place is there.
void copyTo(void* buffer, const std::byte* data, std::uint64_t size)
{
    if (size != 0 && buffer != data)
        std::memcpy(buffer, data, size);
}

} // namespace

CopyOutcome copyText(Bytes text, char* buffer, std::uint64_t capacity)
{
    if (text.size() >= capacity) {
        if (capacity != 0 && buffer != nullptr)
            *buffer = '\0';
        CopyOutcome outcome = tooSmall(text.size());
        outcome.mustKeep = text.size() > capacity;
        return outcome;
    }
    if (buffer == nullptr)
        return {text.empty() ? ZEL_OK : ZEL_SYS_BAD_PARAMETER, 0, false};
    copyTo(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return {ZEL_OK, text.size(), false};
}

CopyOutcome copyBytes(Bytes data, void* buffer, std::uint64_t capacity)
{
    const std::uint64_t size = std::min<std::uint64_t>(data.size(), capacity);
    if (size != 0 && buffer == nullptr)
        return {ZEL_SYS_BAD_PARAMETER, 0, false};
    copyTo(buffer, data.data(), size);
    return size < data.size() ? tooSmall(size) : CopyOutcome{ZEL_OK, size, false};
}

} // namespace zel
