#pragma once

#include <stdexcept>

namespace zel {

/// The library's own exception: raised inside, turned into a result code at the exports.
class exception : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace zel
