#pragma once

#include <cstddef>
#include <cstdint>

#include <pugixml.hpp>

namespace zel {

/// Takes the pieces of a document into a caller's buffer as far as they fit and counts them all, so
/// that the count ends up as the length of the whole document.
class PugiXmlBufferWriter : public pugi::xml_writer {
public:
    /// A null buffer counts as one without capacity.
    PugiXmlBufferWriter(char* buffer, std::uint64_t capacity);

    void write(const void* data, std::size_t size) override;

    /// Ends the text with a zero byte. Where that does not fit the result is
    /// ZEL_SRV_BUFFER_TOO_SMALL and the buffer becomes an empty text, never an open-ended one.
    std::int32_t finish();

    std::int32_t result() const { return m_result; }
    std::uint64_t written() const { return m_written; }

private:
    std::int32_t m_result;
    char* m_buffer; // not owned; its start
    std::uint64_t m_remaining;
    std::uint64_t m_written = 0;
    std::uint64_t m_stored = 0;
    bool m_isEmptyBuffer; // there is not even room for the zero byte
};

} // namespace zel
