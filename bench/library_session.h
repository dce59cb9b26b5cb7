#pragma once

#include "fixed_answer_module.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <future>
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

inline std::string fixedAnswerHost(std::size_t i)
{
    return "127.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1);
}

/// The library, started and connected once or many times, from one thread or several. Every
/// connection is a module of its own: the port has the address of another loopback host each time.
class LibrarySession {
public:
    explicit LibrarySession(std::size_t connections,
                            std::string (*host)(std::size_t) = fixedAnswerHost,
                            std::uint16_t port = zel::bench::module().port(),
                            std::size_t threads = 1)
        : m_modules(connections)
    {
        ZEL_Init();
        std::vector<std::future<void>> connecting;
        for (std::size_t thread = 0; thread < threads; ++thread)
            connecting.push_back(std::async(std::launch::async, [=, this] {
                for (std::size_t i = thread; i < m_modules.size(); i += threads)
                    require(ZEL_XCOM_ConnectToTcpIpDev(host(i).c_str(), port, &m_modules[i]));
            }));
        for (auto& part : connecting)
            part.get();
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
