#pragma once

#include "pugi_xml_buffer_writer.h"
#include "pugi_xml_composer.h"

namespace zel {

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
