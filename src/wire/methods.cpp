#include "methods.h"

#include <algorithm>
#include <iterator>

namespace zel::wire {

namespace {

struct MethodName {
    MethodId id;
    const char* name;
};

constexpr MethodName kMethodNames[] = {
    {ParameterMethod::readDocument, "readXML"},
    {ParameterMethod::writeDocument, "writeXML"},
    {ParameterMethod::readSchema, "readXSD"},
    {ParameterMethod::readStyleSheet, "readXSLT"},
    {ParameterMethod::readSection, "readXMLsection"},
    {ParameterMethod::writeSection, "writeXMLsection"},
    {ParameterMethod::readSectionSchema, "readXSDsection"},
    {ParameterMethod::writeParameter, "writePar"},
    {ParameterMethod::readParameter, "readPar"},
    {ParameterMethod::getViews, "getViews"},
    {ParameterMethod::activateDefault, "activateDefaultSet"},
    {ParameterMethod::readTeds, "readTEDS"},
    {ParameterMethod::writeTeds, "writeTEDS"},
    {StatusMethod::getConnectedModules, "getConModules"},
    {StatusMethod::getErrors, "getErrStatus"},
    {StatusMethod::getStatuses, "getModuleStatus"},
    {ControlMethod::execute, "Exec"},
    {ControlMethod::readDocument, "ReadXml"},
    {ControlMethod::readSchema, "ReadXsd"},
    {ControlMethod::readStyleSheet, "ReadXslt"},
    {ControlMethod::getControls, "GetControls"},
    {MeasurementMethod::readBlock, "readMeasVals"},
    {MeasurementMethod::subscribe, "subscribe"},
    {MeasurementMethod::unsubscribe, "unsubscribe"},
    {MeasurementMethod::listSignals, "getSigList"},
    {MeasurementMethod::readValues, "readSingleMeasVal"},
    {MeasurementMethod::listSignalsAsText, "getSigList"}, // the text form of the same list
    {SystemMethod::sendImage, "sendFirmware"},
    {SystemMethod::receiveImage, "receiveFirmware"},
    {SystemMethod::flash, "flashFirmware"},
    {SystemMethod::getFlashStatus, "getFlashStatus"},
    {SystemMethod::getMspRegister, "getMspReg"},
    {SystemMethod::setMspRegister, "setMspReg"},
    {SystemMethod::setSimulatedValue, "SimVals"},
    {SystemMethod::restart, "doRestart"},
    {SystemMethod::describeModule, "doNetScan"},
    {SystemMethod::announceImage, "indexFwFile"},
    {SystemMethod::flashMsp, "flashMsp"},
    {SystemMethod::requestDebugInfo, "reqDbgInfo"},
    {SystemMethod::getBackgroundServiceResult, "getBgServiceResult"},
    {SystemMethod::setFilePath, "setFilePath"},
    {SystemMethod::writeFile, "writeFile"},
    {SystemMethod::readFile, "readFile"},
    {SystemMethod::getTr620RgRx, "getTr620RgRx"},
    {SystemMethod::getText, "getText"},
    {SystemMethod::getTr620CalUgMeasUx, "getTr620CalUgMeasUx"},
};

const char* serviceName(std::uint16_t service)
{
    switch (Service{service}) {
    case Service::parameters:
        return "PARAM";
    case Service::status:
        return "STATUS";
    case Service::control:
        return "CONTROL";
    case Service::measurement:
        return "DAQ";
    case Service::system:
        return "SYS";
    }
    return nullptr;
}

} // namespace

std::string logName(MethodId id)
{
    // A service without a name is written as nothing at all.
    std::string text;
    if (const char* const name = serviceName(id.service))
        text = std::string{"Srv: "} + name;
    text += " Mthd: ";
    const auto* const found = std::ranges::find(kMethodNames, id, &MethodName::id);
    return text + (found != std::end(kMethodNames) ? found->name : std::to_string(id.method));
}

} // namespace zel::wire
