#pragma once

#include "caller_buffer.h"
#include "phonebook.h"
#include "requestor_context.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>

/// Finding the modules in the network.
namespace zel::network {

/// What a scan asks through: every adapter's multicast or that of one, and the broadcast. Asking
/// both finds a module twice, which does no harm.
struct ScanPaths {
    iRequestorContext& multicast;
    iRequestorContext& broadcast;
};

/// Asks for modules and waits 3 seconds, or the milliseconds of the environment variable
/// ZEL_SCAN_TIME where those are fewer. Answers that come a little later are still entered: the
/// requests share the phonebook.
void scan(const clPhonebook::Scan& scan, const ScanPaths& paths);

/// Writes the modules that the scan found as a document. ZEL_SRV_BUFFER_TOO_SMALL.
std::int32_t listModules(const clPhonebook::Scan& scan, const TextBuffer& buffer);
/// As many records as there are, at most as many as the array has.
void listModules(const clPhonebook::Scan& scan, ZEL_SegmentArray& modules);

} // namespace zel::network
