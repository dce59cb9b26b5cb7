#include "pugi_xml_buffer_composer.h"

#include "ZEL_VR_Framework.h"

#include <cstring>

namespace zel {

void PugiXmlBufferWriter::write(const void* data, std::size_t size)
{
    const std::uint64_t before = m_written;
    m_written += size;
    if (m_written > m_capacity)
        m_result = ZEL_SRV_BUFFER_TOO_SMALL;
    else if (size > 0)
        std::memcpy(m_buffer + before, data, size);
}

std::int32_t PugiXmlBufferWriter::finish()
{
    if (m_written >= m_capacity)
        m_result = ZEL_SRV_BUFFER_TOO_SMALL;
    if (m_capacity > 0)
        m_buffer[m_result == ZEL_OK ? m_written : 0] = '\0';
    return m_result;
}

PugiXmlBufferComposer::PugiXmlBufferComposer(char* buffer, std::uint64_t capacity)
    : m_writer(buffer, capacity)
{
}

std::int32_t PugiXmlBufferComposer::writeRaw(const void* data, std::size_t size)
{
    m_writer.write(data, size);
    return m_writer.result();
}

std::int32_t PugiXmlBufferComposer::save(std::uint64_t* length)
{
    saveDocument(m_writer);
    const std::int32_t result = m_writer.finish();
    if (length != nullptr)
        *length = m_writer.written();
    return result;
}

} // namespace zel
