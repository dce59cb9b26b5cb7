#pragma once

#include "parameter_documents.h"
#include "service_call.h"

#include <cstdint>
#include <string_view>

/// The parameters of a module: documents, one for each view, read and written whole, by section or
/// by value, and the TEDS memories of its sensors. Each function is one method request of
/// service 1.
///
/// Paths are element names joined by "/"; where a name goes with a path, an empty name stands for
/// the path itself. All return the method's result or what service_call.h says. Texts must not be
/// null unless a function says what comes then.
namespace zel::parameters {

std::int32_t read(const RemoteModule& module, std::uint32_t view, const char* path,
                  const char* name, const TextBuffer& buffer);

/// ZEL_SRV_BUFFER_TOO_SMALL for a value of 100 characters or more, ZEL_UTIL_STRING_CONVERSION for
/// one that is no number; `value` is set on success only.
std::int32_t readDouble(const RemoteModule& module, std::uint32_t view, const char* path,
                        const char* name, double& value);

std::int32_t write(const RemoteModule& module, std::uint32_t view, const char* path,
                   const char* name, std::string_view value);

/// `currentChoicesOnly` leaves out of the document the choices that cannot be selected now.
std::int32_t readDocument(const RemoteModule& module, std::uint32_t view, bool currentChoicesOnly,
                          const TextBuffer& buffer);
std::int32_t readSection(const RemoteModule& module, std::uint32_t view, bool currentChoicesOnly,
                         const char* path, const TextBuffer& buffer);
std::int32_t writeDocument(const RemoteModule& module, std::uint32_t view,
                           std::string_view document);
std::int32_t writeSection(const RemoteModule& module, std::uint32_t view, const char* path,
                          std::string_view section);

std::int32_t readSchema(const RemoteModule& module, std::uint32_t view, const TextBuffer& buffer);
std::int32_t readSectionSchema(const RemoteModule& module, std::uint32_t view, const char* path,
                               const TextBuffer& buffer);
std::int32_t readStyleSheet(const RemoteModule& module, std::uint32_t view,
                            const TextBuffer& buffer);

/// The module resets what the XPath expression selects.
std::int32_t activateDefault(const RemoteModule& module, std::uint32_t view, const char* xpath);
std::int32_t activateAllDefaults(const RemoteModule& module);

/// How often a parameter may occur, 0 or more, or a negative result code.
std::int32_t maxCount(const RemoteModule& module, std::uint32_t view, const char* path,
                      const char* name);

/// The channel counts from 1: ZEL_SRV_INVALID_PARAMETERS for channel 0. `identifier` has room for
/// kTedsIdentifierSize characters and is set on success only.
std::int32_t readTeds(const RemoteModule& module, std::uint32_t channel, char* identifier,
                      const TextBuffer& buffer);
/// Also ZEL_SRV_INVALID_PARAMETERS for null data. The module gives the identifier.
std::int32_t writeTeds(const RemoteModule& module, std::uint32_t channel, char* identifier,
                       const void* data, std::uint64_t length);

} // namespace zel::parameters
