#pragma once

#include "fixed_answer_module.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel::bench {

/// A benchmark has no use for a call that fails.
inline void require(std::int32_t result)
{
    if (result != ZEL_OK)
        throw std::runtime_error(ZEL_XUTIL_GetText(result));
}

/// The library, started and connected once or many times. Every connection is a module of its own:
/// the port has the address of another loopback host each time.
class LibrarySession {
public:
    explicit LibrarySession(std::size_t connections)
    {
        ZEL_Init();
        for (std::size_t i = 0; i < connections; ++i) {
            const std::string host =
                "127.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1);
            std::uint64_t uuid = 0;
            if (ZEL_XCOM_ConnectToTcpIpDev(host.c_str(), zel::bench::module().port(), &uuid) !=
                ZEL_OK)
                throw std::runtime_error("no connection to " + host);
            m_modules.push_back(uuid);
        }
    }
    ~LibrarySession() { ZEL_Unload(); }
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;

    std::uint64_t module(std::size_t i) const { return m_modules[i % m_modules.size()]; }

private:
    std::vector<std::uint64_t> m_modules;
};

inline void readPar(std::uint64_t uuid)
{
    char text[64];
    std::uint64_t length = 0;
    require(ZEL_XPAR_ReadPar(uuid, 1, "Amplifier", "Range", text, &length, sizeof text));
}

} // namespace zel::bench
