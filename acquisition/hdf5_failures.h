#pragma once

#include "guarded_file.h"
#include "hdf5_library.h"

#include <string>

namespace zel::acquisition::hdf5 {

/// Does something with a file; what the library and the file system say comes out as the failure that
/// callers know.
template <class Known, class Work>
auto guarded(const std::string& path, Work work)
{
    try {
        return work();
    } catch (const Failure& failure) {
        throw Known(path + ": " + failure.what());
    } catch (const GuardedFile::Failure& failure) {
        throw Known(failure.what());
    }
}

} // namespace zel::acquisition::hdf5
