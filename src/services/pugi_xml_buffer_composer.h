#pragma once

#include "pugi_xml_composer.h"

namespace zel {

/// Takes the pieces of a document into a caller's buffer as far as they fit and counts them all, so
/// that the count ends up as the length of the whole document.
class PugiXmlBufferWriter : public pugi::xml_writer {
public:
    /// A null buffer counts as one without capacity.
    PugiXmlBufferWriter(char* buffer, std::uint64_t capacity)
        : m_buffer(buffer), m_capacity(buffer == nullptr ? 0 : capacity)
    {
    }

    void write(const void* data, std::size_t size) override;

    /// Ends the text with a zero byte. Where that does not fit the result is
    /// ZEL_SRV_BUFFER_TOO_SMALL and the buffer becomes an empty text, never an open-ended one.
    std::int32_t finish();

    std::int32_t result() const { return m_result; }
    std::uint64_t written() const { return m_written; }

private:
    std::int32_t m_result = 0;
    char* const m_buffer; // not owned
    const std::uint64_t m_capacity;
    std::uint64_t m_written = 0; // also what did not fit
};

/// Builds a document and saves it straight into a caller's buffer.
class PugiXmlBufferComposer : public PugiXmlComposer {
public:
    /// The buffer stays the caller's and must outlive the composer.
    PugiXmlBufferComposer(char* buffer, std::uint64_t capacity);

    std::int32_t writeRaw(const void* data, std::size_t size) override;

    /// Writes the document. `length`, where there is one, gets the document's length without the
    /// zero byte, also when it did not fit. Returns 0 or ZEL_SRV_BUFFER_TOO_SMALL.
    std::int32_t save(std::uint64_t* length);

    /// What has been added so far.
    std::uint32_t itemCount() const { return m_itemCount; }

private:
    void countItem() override { ++m_itemCount; }

    std::uint32_t m_itemCount = 0;
    PugiXmlBufferWriter m_writer;
};

} // namespace zel
