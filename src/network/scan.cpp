#include "scan.h"

#include "cut_text.h"
#include "host_facts.h"
#include "multi_method_request.h"
#include "pugi_xml_buffer_composer.h"
#include "request_document.h"
#include "requestor_broadcast.h"
#include "service_call.h"

#include <charconv>
#include <chrono>
#include <exception>
#include <string>
#include <thread>

namespace zel::network {

namespace {

constexpr MethodAddress kScan{kBroadcastNode, wire::SystemMethod::describeModule};
constexpr std::uint32_t kLongestWait = 3000;

/// The environment can make scans shorter, for whoever asks again and again.
std::chrono::milliseconds waitTime()
{
    const std::string digits = environmentText("ZEL_SCAN_TIME");
    std::uint32_t wait = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), wait);
    const bool isNumber = error == std::errc{} && end == digits.data() + digits.size();
    return std::chrono::milliseconds(isNumber && wait > 0 && wait < kLongestWait ? wait
                                                                                 : kLongestWait);
}

/// Enters what comes in into the phonebook. Where one way fails, the scan has what comes by the
/// others.
void ask(const std::shared_ptr<clPhonebook>& phonebook, iRequestorContext& way)
{
    const auto enter = [phonebook](std::int32_t result, Bytes data,
                                   const TransactionSource& source) {
        auto record = hasFailed(result) ? std::nullopt : readModuleRecord(data);
        // Nobody speaks for another module.
        if (record && record->uuid == source.uuid)
            phonebook->enter(source.interfaceIndex, std::move(*record));
    };
    try {
        clMultiMthdReqrSrv::start(kScan, clRequestDocument{}.take(), enter, way);
    } catch (const std::exception&) {
    }
}

void addModule(PugiXmlBufferComposer& document, std::uint32_t address, const ModuleRecord& module)
{
    document.openElement("Module");
    document.addAttribute("address", address);
    document.addElement("IpAdr", module.address);
    document.addElement("SubMask", module.mask);
    document.addElement("TcpPort", module.port);
    document.addElement("Name", module.name);
    document.addElement("Uuid", std::to_string(module.uuid));
    document.addElement("ModuleType", module.type);
    document.addElement("FirmwareVersion", module.firmwareVersion);
    document.closeElement();
}

} // namespace

void scan(const clPhonebook::Scan& scan, const ScanPaths& paths)
{
    ask(scan.phonebook(), paths.multicast);
    ask(scan.phonebook(), paths.broadcast);
    std::this_thread::sleep_until(std::chrono::steady_clock::now() + waitTime());
}

std::int32_t listModules(const clPhonebook::Scan& scan, const TextBuffer& buffer)
{
    PugiXmlBufferComposer document{buffer.data, buffer.capacity};
    document.openElement("SrvParams");
    std::uint32_t address = 0;
    scan.list([&](const ModuleRecord& module) { addModule(document, address++, module); });
    document.closeElement();
    return document.save(buffer.length);
}

void listModules(const clPhonebook::Scan& scan, ZEL_SegmentArray& modules)
{
    modules = {};
    scan.list([&](const ModuleRecord& module) {
        if (modules.count == ZEL_SEGMENT_SIZE)
            return;
        ZEL_SegmentModule& record = modules.modules[modules.count++];
        cutText(module.address, record.address);
        record.port = module.port;
        record.uuid = module.uuid;
        cutText(module.name, record.name);
        cutText(module.type, record.moduleType);
    });
}

} // namespace zel::network
