#include "pugi_xml_buffer_writer.h"

#include "ZEL_VR_Framework.h"

#include <cstring>

namespace zel {

PugiXmlBufferWriter::PugiXmlBufferWriter(char* buffer, std::uint64_t capacity)
    : m_result(ZEL_OK),
      m_buffer(buffer),
      m_remaining(buffer == nullptr ? 0 : capacity),
      m_isEmptyBuffer(m_remaining == 0)
{
}

void PugiXmlBufferWriter::write(const void* data, std::size_t size)
{
    m_written += size;
    if (size > m_remaining) {
        m_result = ZEL_SRV_BUFFER_TOO_SMALL;
        m_remaining = 0;
        return;
    }
    if (size == 0)
        return;
    std::memcpy(m_buffer + m_stored, data, size);
    m_stored += size;
    m_remaining -= size;
}

std::int32_t PugiXmlBufferWriter::finish()
{
    if (m_remaining > 0) {
        m_buffer[m_stored] = '\0';
        return m_result;
    }
    m_result = ZEL_SRV_BUFFER_TOO_SMALL;
    if (!m_isEmptyBuffer)
        m_buffer[0] = '\0';
    return m_result;
}

} // namespace zel
