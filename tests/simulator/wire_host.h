#pragma once

#include "hexadecimal.h"
#include "wire_peer.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace zel::test {

/// A host played by hand that calls methods of a module, one after the other.
class WireHost {
public:
    struct Answer {
        std::int32_t result = 0;
        std::string data;
    };

    WireHost(std::uint16_t port, std::uint64_t module) : m_module(hex64(module))
    {
        m_peer.connectTo(port);
    }

    Answer call(unsigned service, unsigned method, std::string_view data)
    {
        send("0001", unhex(digits(service) + digits(method)) + std::string{data});
        std::string response;
        for (std::size_t total = 0; total == 0 || response.size() < total;) {
            const std::string telegram = m_peer.readTelegram();
            const std::string type = hex(telegram.substr(16, 2));
            const std::string body = telegram.substr(28, telegram.size() - 32);
            if (type == "0003") // patience
                continue;
            if (type == "0002")
                return read(body);
            if (type == "0013")
                total = std::strtoul(hex(body).c_str(), nullptr, 16);
            else
                response += body;
            send("0015", "");
        }
        return read(response);
    }

private:
    static std::string digits(std::size_t number) { return hex64(number).substr(12); }

    static Answer read(const std::string& response)
    {
        const auto code = std::strtoul(hex(response.substr(4, 4)).c_str(), nullptr, 16);
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(code)), response.substr(8)};
    }

    void send(const std::string& type, const std::string& body)
    {
        m_peer.write(unhex("12345678 10 01" + digits(12 + body.size()) + "000a00000000b0b0" + type +
                           "0001" + m_module) +
                     body + unhex("87654321"));
    }

    WirePeer m_peer;
    const std::string m_module;
};

} // namespace zel::test
