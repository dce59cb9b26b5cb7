#include "method_names.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

struct MethodName {
    std::uint16_t service;
    std::uint16_t method;
    const char* name;
};

constexpr MethodName kMethodNames[] = {
    {1, 1, "readXML"},
    {1, 2, "writeXML"},
    {1, 3, "readXSD"},
    {1, 4, "readXSLT"},
    {1, 5, "readXMLsection"},
    {1, 6, "writeXMLsection"},
    {1, 7, "readXSDsection"},
    {1, 9, "writePar"},
    {1, 10, "readPar"},
    {1, 11, "getViews"},
    {1, 12, "activateDefaultSet"},
    {1, 13, "readTEDS"},
    {1, 14, "writeTEDS"},
    {2, 1, "getConModules"},
    {2, 2, "getErrStatus"},
    {2, 3, "getModuleStatus"},
    {3, 1, "Exec"},
    {3, 2, "ReadXml"},
    {3, 3, "ReadXsd"},
    {3, 4, "ReadXslt"},
    {3, 5, "GetControls"},
    {5, 1, "readMeasVals"},
    {5, 2, "subscribe"},
    {5, 3, "unsubscribe"},
    {5, 6, "getSigList"},
    {5, 7, "readSingleMeasVal"},
    {5, 8, "getSigList"}, // the text form of the same list
    {6, 1, "sendFirmware"},
    {6, 2, "receiveFirmware"},
    {6, 3, "flashFirmware"},
    {6, 4, "getFlashStatus"},
    {6, 7, "getMspReg"},
    {6, 8, "setMspReg"},
    {6, 9, "SimVals"},
    {6, 12, "doRestart"},
    {6, 13, "doNetScan"},
    {6, 14, "indexFwFile"},
    {6, 15, "flashMsp"},
    {6, 17, "reqDbgInfo"},
    {6, 18, "getBgServiceResult"},
    {6, 19, "setFilePath"},
    {6, 20, "writeFile"},
    {6, 21, "readFile"},
    {6, 22, "getTr620RgRx"},
    {6, 23, "getText"},
    {6, 24, "getTr620CalUgMeasUx"},
};

const char* serviceName(std::uint16_t service)
{
    switch (service) {
    case 1:
        return "PARAM";
    case 2:
        return "STATUS";
    case 3:
        return "CONTROL";
    case 5:
        return "DAQ";
    case 6:
        return "SYS";
    default:
        return nullptr;
    }
}

} // namespace

std::string methodLogName(std::uint16_t service, std::uint16_t method)
{
    // A service without a name is written as nothing at all.
    std::string text;
    if (const char* const name = serviceName(service))
        text = std::string{"Srv: "} + name;
    text += " Mthd: ";
    const auto* const found =
        std::find_if(std::begin(kMethodNames), std::end(kMethodNames), [&](const MethodName& row) {
            return row.service == service && row.method == method;
        });
    return text + (found != std::end(kMethodNames) ? found->name : std::to_string(method));
}

} // namespace zel
