#include "pugi_xml_buffer_composer.h"

namespace zel {

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
