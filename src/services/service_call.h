#pragma once

#include "caller_buffer.h"
#include "method_request.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

namespace zel {

class clResponseDocument;

/// A positive result is a warning: the module has done what it was asked, and the data are there.
constexpr bool hasFailed(std::int32_t result)
{
    return result < ZEL_OK;
}

/// What two steps give together: the failure, else the first warning.
constexpr std::int32_t firstOf(std::int32_t first, std::int32_t second)
{
    return first == ZEL_OK || (hasFailed(second) && !hasFailed(first)) ? second : first;
}

/// What a request can carry: its length is announced in 32 bits, the method header included.
inline constexpr std::uint64_t kLongestRequest = std::numeric_limits<std::uint32_t>::max() - 4;

// One method call each. All wait for the answer and return the method's result; ZEL_SYS_NO_OBJECT
// where the request cannot be created, ZEL_SRV_INVALID_PARAMETERS where it is too long.

/// Copies the response into the caller's buffer, if there is one. The copy's result, where it is
/// not 0, takes precedence. ZEL_SYS_BAD_PARAMETER, and nothing sent, for a capacity without a
/// buffer or without a length cell.
std::int32_t sendForText(const RemoteModule& module, wire::MethodId method, std::string request,
                         const TextBuffer& buffer);

/// Copies the response data of a call that has not failed, as copyBytes() does; `received` is their
/// count.
std::int32_t sendForBytes(const RemoteModule& module, wire::MethodId method, std::string request,
                          void* buffer, std::uint64_t capacity, std::uint64_t& received);

/// The response data are not looked at.
std::int32_t send(const RemoteModule& module, wire::MethodId method, std::string request);

/// What came back, for the library itself to look into.
struct Response {
    std::int32_t result = 0;
    std::unique_ptr<clRxTelContainer> telegram; // null without a response

    Bytes payload() const { return telegram ? telegram->payload() : Bytes{}; }
};
Response sendForResponse(const RemoteModule& module, wire::MethodId method, std::string request);

/// Reads the document of the response to a call that has not failed: also what
/// clResponseDocument::parse() returns.
std::int32_t sendForDocument(const RemoteModule& module, wire::MethodId method, std::string request,
                             clResponseDocument& document);

/// Writes the response into a file. ZEL_FILE_OPEN, and nothing sent, where it cannot be opened;
/// ZEL_FILE_WRITE. A file that was there stays as it is when the request fails. The name is UTF-8.
std::int32_t sendForFile(const RemoteModule& module, wire::MethodId method, std::string request,
                         const char* fileName);

} // namespace zel
