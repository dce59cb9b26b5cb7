#pragma once

#include "method_request.h"

#include <cstdint>

/// Files on a module. File names on the host are UTF-8; the file on the module is named by folder
/// and name, which are joined by "/", or by the name alone where the folder is empty.
namespace zel::module_files {

/// ZEL_FILE_OPEN, ZEL_FILE_READ, ZEL_SYS_FILE_TOO_LARGE (more than a request can announce), or the
/// failing request's result.
std::int32_t write(const RemoteModule& module, const char* hostFile, const char* moduleFolder,
                   const char* moduleFile);
/// ZEL_FILE_OPEN and nothing sent, ZEL_FILE_WRITE, or the failing request's result, which leaves
/// the host's file as it was.
std::int32_t read(const RemoteModule& module, const char* moduleFolder, const char* moduleFile,
                  const char* hostFile);

} // namespace zel::module_files
