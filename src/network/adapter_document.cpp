#include "adapter_document.h"

#include "pugi_xml_buffer_composer.h"

namespace zel::network {

std::int32_t writeAdapterDocument(std::span<const sys::HostAdapter> adapters,
                                  const TextBuffer& buffer)
{
    PugiXmlBufferComposer document{buffer.data, buffer.capacity};
    document.openElement("SrvParams");
    std::uint32_t number = 0;
    for (const sys::HostAdapter& adapter : adapters) {
        document.openElement("NetSetting");
        document.addAttribute("address", number++);
        document.addElement("AdapterName", adapter.name);
        if (!adapter.addresses.empty()) {
            document.addElement("SubMask", adapter.addresses.back().mask);
            document.addElement("IpAdr", adapter.addresses.back().address);
        }
        document.addElement("PhyAdr", adapter.physicalAddress);
        document.closeElement();
    }
    document.closeElement();
    return document.save(buffer.length);
}

} // namespace zel::network
