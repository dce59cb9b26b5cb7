#include "teds_memories.h"

#include "module_codes.h"
#include "signal_place.h"

#include <optional>

namespace zel::simulator {

namespace {

int digitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

std::optional<std::string> fromHexadecimal(std::string_view digits)
{
    if (digits.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = digitValue(digits[i]);
        const int low = digitValue(digits[i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

} // namespace

TedsMemories::TedsMemories(std::uint64_t uuid, std::size_t capacity) : m_capacity(capacity)
{
    for (std::uint32_t connector = 0; connector < kAmplifierConnectors; ++connector) {
        TedsMemory memory;
        memory.id = 0x2d00000000000000 | ((uuid & 0xFFFFFFFF) << 8) | connector;
        memory.bytes =
            std::string{"\x11\x00\x42\x08", 4} + "SENSOR" + static_cast<char>('1' + connector);
        memory.bytes.resize(std::min(memory.bytes.size(), capacity));
        plug(connector, std::move(memory));
    }
}

const TedsMemory* TedsMemories::find(std::uint32_t connector) const
{
    const auto found = m_memories.find(connector);
    return found == m_memories.end() ? nullptr : &found->second;
}

void TedsMemories::plug(std::uint32_t connector, TedsMemory memory)
{
    m_memories[connector] = std::move(memory);
}

void TedsMemories::unplug(std::uint32_t connector)
{
    m_memories.erase(connector);
}

Outcome TedsMemories::write(std::uint32_t connector, std::string_view digits)
{
    const auto found = m_memories.find(connector);
    if (found == m_memories.end())
        return {kNoTeds, "no TEDS at connector " + std::to_string(connector + 1)};
    auto bytes = fromHexadecimal(digits);
    if (!bytes)
        return {kInvalidParameters, "BinData is not hexadecimal"};
    if (bytes->size() > m_capacity)
        return {kTedsDoesNotFit, std::to_string(bytes->size()) + " bytes do not fit the " +
                                     std::to_string(m_capacity) + " of this TEDS"};
    found->second.bytes = std::move(*bytes);
    return {};
}

std::string toHexadecimal(std::string_view bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += kDigits[value >> 4];
        text += kDigits[value & 0xF];
    }
    return text;
}

} // namespace zel::simulator
