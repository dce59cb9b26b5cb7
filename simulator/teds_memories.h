#pragma once

#include "method_call.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace zel::simulator {

/// The memory in the sensor at one connector.
struct TedsMemory {
    std::uint64_t id = 0;
    std::string bytes;
    std::string error; ///< what the connector's TEDS status reports; empty when all is well
    std::string warning;
};

/// The sensors' memories by the address of their connector.
class TedsMemories {
public:
    TedsMemories(std::uint64_t uuid, std::size_t capacity);

    const TedsMemory* find(std::uint32_t connector) const;
    void plug(std::uint32_t connector, TedsMemory memory);
    void unplug(std::uint32_t connector);

    /// Replaces the image, given as hexadecimal digits.
    Outcome write(std::uint32_t connector, std::string_view digits);

private:
    const std::size_t m_capacity;
    std::map<std::uint32_t, TedsMemory> m_memories;
};

std::string toHexadecimal(std::string_view bytes);

} // namespace zel::simulator
