#include "pugi_xml_stream_composer.h"

#include "ZEL_VR_Framework.h"

#include <ostream>

namespace zel {

std::int32_t PugiXmlStreamComposer::writeRaw(const void* data, std::size_t size)
{
    m_stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    return streamResult();
}

std::int32_t PugiXmlStreamComposer::save()
{
    pugi::xml_writer_stream writer(m_stream);
    saveDocument(writer);
    return streamResult();
}

std::int32_t PugiXmlStreamComposer::streamResult() const
{
    return m_stream.good() ? ZEL_OK : ZEL_FILE_WRITE;
}

} // namespace zel
