#include "module_address.h"

#include "command_failure.h"

#include <stdexcept>

namespace zel::cli {

ModuleTarget moduleTarget(const std::string& text)
{
    try {
        return ModuleTarget::parse(text);
    } catch (const std::invalid_argument& refused) {
        throw CommandFailure({.problem = refused.what(),
                              .advice =
                                  "an address is HOST or HOST:PORT, for example 192.168.169.20, "
                                  "amplifier-3:55000 or [fe80::1]:55000; 'zel scan' lists "
                                  "modules with addresses and names"});
    }
}

} // namespace zel::cli
