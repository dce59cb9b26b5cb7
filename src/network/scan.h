#pragma once

#include "phonebook.h"
#include "requestor_context.h"
#include "text_response.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <memory>
#include <optional>

/// Finding the modules in the network.
namespace zel::network {

/// What a scan asks through: every adapter's multicast or that of one, and the broadcast. Asking
/// both finds a module twice, which does no harm.
struct ScanPaths {
    iRequestorContext& multicast;
    iRequestorContext& broadcast;
    sys::EventLoop& loop;
};

/// Forgets the modules of one adapter, or all of them, asks for them and waits 3 seconds.
/// Answers that come a little later are still entered: the requests share the phonebook.
void scan(const std::shared_ptr<clPhonebook>& phonebook,
          std::optional<std::uint32_t> interfaceIndex, const ScanPaths& paths);

/// Writes the known modules as a document. ZEL_SRV_BUFFER_TOO_SMALL.
std::int32_t listModules(const clPhonebook& phonebook, std::optional<std::uint32_t> interfaceIndex,
                         const TextBuffer& buffer);
/// As many records as there are, at most as many as the array has.
void listModules(const clPhonebook& phonebook, std::optional<std::uint32_t> interfaceIndex,
                 ZEL_SegmentArray& modules);

} // namespace zel::network
