/**
 * @file module_calls.hpp
 * How the functions of Module call the library. Included by module.hpp.
 */
#ifndef ZEL_MODULE_CALLS_HPP
#define ZEL_MODULE_CALLS_HPP

#include "module.hpp"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace zel {

namespace detail {

inline std::string inView(std::uint32_t view)
{
    return " in view " + std::to_string(view);
}

} // namespace detail

inline std::string Module::get(const std::string& path, std::uint32_t view) const
{
    const char* const name = detail::terminated(path);
    return read(
        detail::kShortText, path + detail::inView(view),
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XPAR_ReadPar(uuid, view, name, "", buffer, length, capacity);
        });
}

inline double Module::getNumber(const std::string& path, std::uint32_t view) const
{
    double value = 0;
    m_connection->check(
        ZEL_XPAR_ReadDoublePar(uuid(), view, detail::terminated(path), "", &value),
        [&] { return "read " + path + detail::inView(view); }, Answer::data);
    return value;
}

inline void Module::set(const std::string& path, const std::string& value, std::uint32_t view)
{
    m_connection->check(
        ZEL_XPAR_WriteStringPar(uuid(), view, detail::terminated(path), "",
                                detail::terminated(value)),
        [&] { return "set " + path + " to '" + value + "'" + detail::inView(view); });
}

inline void Module::set(const std::string& path, std::int32_t value, std::uint32_t view)
{
    m_connection->check(
        ZEL_XPAR_WriteIntPar(uuid(), view, detail::terminated(path), "", value),
        [&] { return "set " + path + " to " + std::to_string(value) + detail::inView(view); });
}

inline void Module::set(const std::string& path, double value, std::uint32_t view)
{
    m_connection->check(
        ZEL_XPAR_WriteDoublePar(uuid(), view, detail::terminated(path), "", value),
        [&] { return "set " + path + " to " + std::to_string(value) + detail::inView(view); });
}

inline std::string Module::document(std::uint32_t view, const std::string& section,
                                    bool currentChoicesOnly) const
{
    const char* const path = detail::terminated(section);
    return read(
        detail::kDocument, (section.empty() ? "the document" : section) + detail::inView(view),
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            const std::int32_t choices = currentChoicesOnly ? 1 : 0;
            return section.empty()
                       ? ZEL_XPAR_ReadXML(uuid, view, choices, buffer, length, capacity)
                       : ZEL_XPAR_ReadXMLSect(uuid, view, choices, path, buffer, length, capacity);
        });
}

inline void Module::writeDocument(std::uint32_t view, std::string_view document,
                                  const std::string& section)
{
    if (document.size() >= std::uint64_t{1} << 32U)
        throw std::invalid_argument("a document has to be shorter than 4 GiB");
    const char* const path = detail::terminated(section);
    // An empty one has no address of its own.
    const char* const bytes = document.empty() ? "" : document.data();
    m_connection->check(
        section.empty() ? ZEL_XPAR_WriteXML(uuid(), view, bytes, document.size())
                        : ZEL_XPAR_WriteXMLSect(uuid(), view, path, bytes, document.size()),
        [&] {
            return "write " + (section.empty() ? "the document" : section) + detail::inView(view);
        });
}

inline std::string Module::schema(std::uint32_t view, const std::string& section) const
{
    const char* const path = detail::terminated(section);
    return read(
        detail::kDocument,
        "the schema of " + (section.empty() ? "the document" : section) + detail::inView(view),
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return section.empty()
                       ? ZEL_XPAR_ReadXSD(uuid, view, buffer, length, capacity)
                       : ZEL_XPAR_ReadXSDSect(uuid, view, path, buffer, length, capacity);
        });
}

inline std::string Module::styleSheet(std::uint32_t view) const
{
    return read(
        detail::kDocument, "the style sheet" + detail::inView(view),
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XPAR_ReadXSLT(uuid, view, buffer, length, capacity);
        });
}

inline std::string Module::views() const
{
    return read(detail::kDocument, "the list of views", ZEL_XPAR_GetParViewsString);
}

inline void Module::reset(const std::string& xpath, std::uint32_t view)
{
    m_connection->check(ZEL_XPAR_ActivateDefaultSetting(uuid(), view, detail::terminated(xpath)),
                        [&] { return "reset " + xpath + detail::inView(view); });
}

inline void Module::resetAll()
{
    m_connection->check(ZEL_XPAR_ActivateAllDefaultSettings(uuid()),
                        [] { return "reset all parameters"; });
}

inline void Module::execute(const std::string& control, std::span<const std::string> parameters)
{
    std::vector<const char*> texts;
    for (const std::string& parameter : parameters)
        texts.push_back(detail::terminated(parameter));
    m_connection->check(ZEL_XCTRL_Execute(uuid(), detail::terminated(control), 0,
                                          static_cast<std::uint32_t>(texts.size()), texts.data()),
                        [&] { return "execute " + control; });
}

inline std::string Module::executeDocument(const std::string& control,
                                           const std::string& parameters)
{
    // Not by growing: asking again would execute the control again.
    const auto buffer = std::make_unique_for_overwrite<char[]>(detail::kDocument);
    std::uint64_t length = 0;
    const std::int32_t code = ZEL_XCTRL_ExecuteXMLPars(uuid(), detail::terminated(control), 0,
                                                       detail::terminated(parameters), buffer.get(),
                                                       &length, detail::kDocument);
    // With words of the module, of whatever length, it is a refusal that did not fit.
    if (code == ZEL_SRV_BUFFER_TOO_SMALL && lastModuleText(uuid()).empty()) {
        const char* kept = nullptr;
        std::uint64_t keptLength = 0;
        ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(uuid(), &kept, &keptLength);
        if (kept != nullptr && keptLength == length)
            return {kept, keptLength};
        throw Error({.code = code,
                     .tried = "keep the answer of the control " + control,
                     .address = address().text(),
                     .codeText = "it has been executed, but its answer of " +
                                 std::to_string(length) + " bytes is lost"});
    }
    m_connection->check(
        code, [&] { return "execute " + control; }, code < ZEL_OK ? Answer::words : Answer::data);
    return {buffer.get(), length};
}

inline std::string Module::controls() const
{
    return read(detail::kDocument, "the list of controls", ZEL_XCTRL_GetControlsString);
}

inline std::string Module::controlDocument(const std::string& control) const
{
    const char* const name = detail::terminated(control);
    return read(
        detail::kDocument, "the description of the control " + control,
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XCTRL_ReadXML(uuid, name, buffer, length, capacity);
        });
}

inline std::string Module::controlSchema(const std::string& control) const
{
    const char* const name = detail::terminated(control);
    return read(
        detail::kDocument, "the schema of the control " + control,
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XCTRL_ReadXSD(uuid, name, buffer, length, capacity);
        });
}

inline std::string Module::controlStyleSheet(const std::string& control) const
{
    const char* const name = detail::terminated(control);
    return read(
        detail::kDocument, "the style sheet of the control " + control,
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XCTRL_ReadXSLT(uuid, name, buffer, length, capacity);
        });
}

inline void Module::setZero(std::uint32_t connector, std::uint32_t signal,
                            std::optional<double> target)
{
    requireNumber(connector);
    requireNumber(signal);
    m_connection->check(
        target ? ZEL_XCTRL_SetZeroWithTarget(uuid(), connector - 1, signal - 1, *target)
               : ZEL_XCTRL_SetZero(uuid(), connector - 1, signal - 1),
        [&] {
            return "zero signal " + std::to_string(signal) + " of connector " +
                   std::to_string(connector);
        });
}

inline void Module::setLed(std::uint32_t led, std::uint32_t mode)
{
    m_connection->check(ZEL_XCTRL_SetLedMode(uuid(), led, mode), [&] {
        return "set LED " + std::to_string(led) + " to mode " + std::to_string(mode);
    });
}

inline std::vector<ModuleError> Module::errors() const
{
    const auto list = std::make_unique_for_overwrite<ZEL_ErrorListEx>();
    m_connection->check(
        ZEL_XSTAT_GetErrorStatusEx(uuid(), list.get()), [] { return "read the errors"; },
        Answer::data);
    std::vector<ModuleError> errors;
    for (std::uint32_t i = 0; i < list->count && i < ZEL_LIST_SIZE_EX; ++i) {
        const ZEL_ErrorEntry error = list->entries[i]; // whose members may not be aligned
        errors.push_back({error.level, error.code, error.connector, error.channel, error.signal,
                          detail::fieldText(error.text)});
    }
    return errors;
}

inline std::vector<StatusValue> Module::status() const
{
    const auto list = std::make_unique_for_overwrite<ZEL_StatusListEx>();
    m_connection->check(
        ZEL_XSTAT_GetModuleStatusEx(uuid(), list.get()), [] { return "read the status"; },
        Answer::data);
    std::vector<StatusValue> values;
    for (std::uint32_t i = 0; i < list->count && i < ZEL_LIST_SIZE_EX; ++i) {
        const ZEL_StatusEntry entry = list->entries[i];
        values.push_back({entry.connector, entry.channel, entry.signal, entry.statusId, entry.value,
                          detail::fieldText(entry.info)});
    }
    return values;
}

inline std::vector<ZEL_ConnectedModule> Module::connectedModules() const
{
    constexpr std::size_t kRoom = 256;
    return detail::readRecords<ZEL_ConnectedModule>(
        *m_connection, kRoom, [] { return "list the connected modules"; },
        ZEL_XSTAT_GetConnectedModules);
}

inline Teds Module::teds(std::uint32_t connector) const
{
    requireNumber(connector);
    char identifier[17] = "";
    Teds teds;
    teds.data = read(
        detail::kShortText, "the TEDS of connector " + std::to_string(connector),
        [&](std::uint64_t uuid, char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return ZEL_XPAR_ReadTedsBinary(uuid, connector, identifier, buffer, length, capacity);
        });
    teds.identifier = detail::fieldText(identifier);
    return teds;
}

inline TedsStatus Module::tedsStatus(std::uint32_t connector) const
{
    constexpr std::uint64_t kLongest = 1U << 24U;
    requireNumber(connector);
    TedsStatus teds;
    std::uint64_t errorLength = 1023;
    std::uint64_t warningLength = 1023;
    std::int32_t code = ZEL_SRV_BUFFER_TOO_SMALL;
    for (int attempt = 0; attempt < 3 && code == ZEL_SRV_BUFFER_TOO_SMALL; ++attempt) {
        teds.error.assign((std::min)(errorLength, kLongest) + 1, '\0');
        teds.warning.assign((std::min)(warningLength, kLongest) + 1, '\0');
        // This export counts from 0, those that read and write from 1.
        code = ZEL_XSTAT_GetTedsStatus(uuid(), connector - 1, &teds.status, teds.error.data(),
                                       &errorLength, teds.error.size(), teds.warning.data(),
                                       &warningLength, teds.warning.size());
    }
    m_connection->check(
        code, [&] { return "read the TEDS status of connector " + std::to_string(connector); },
        Answer::data);
    teds.error.resize(errorLength);
    teds.warning.resize(warningLength);
    return teds;
}

inline std::string Module::writeTeds(std::uint32_t connector, std::string_view data)
{
    requireNumber(connector);
    char identifier[17] = "";
    m_connection->check(
        ZEL_XPAR_WriteTedsBinary(uuid(), connector, identifier, data.empty() ? "" : data.data(),
                                 data.size()),
        [&] { return "write the TEDS of connector " + std::to_string(connector); }, Answer::data);
    return detail::fieldText(identifier);
}

inline void Module::readFile(const std::string& moduleFile, const std::string& hostFile) const
{
    m_connection->check(
        ZEL_XSYS_ReadFile(uuid(), "", detail::terminated(moduleFile), detail::terminated(hostFile)),
        [&] { return "copy " + moduleFile + " to " + hostFile; }, Answer::data);
}

inline void Module::writeFile(const std::string& hostFile, const std::string& moduleFile)
{
    m_connection->check(ZEL_XSYS_WriteFile(uuid(), detail::terminated(hostFile), "",
                                           detail::terminated(moduleFile)),
                        [&] { return "copy " + hostFile + " to " + moduleFile; });
}

inline void Module::writeFirmware(const std::string& folder)
{
    m_connection->check(ZEL_XSYS_WriteFirmware(uuid(), detail::terminated(folder)),
                        [&] { return "write the firmware images in " + folder; });
}

inline FlashStatus Module::flashStatus() const
{
    FlashStatus flash;
    m_connection->check(
        ZEL_XSYS_GetFlashStatus(uuid(), &flash.status, &flash.progress),
        [] { return "read the flashing status"; }, Answer::data);
    return flash;
}

inline void Module::startFlashing()
{
    m_connection->check(ZEL_XSYS_StartFlashing(uuid()), [] { return "start flashing"; });
}

inline void Module::restart()
{
    m_connection->check(ZEL_XSYS_DoRestartSystem(uuid(), 0, 0),
                        [] { return "restart the module"; });
}

inline std::string Module::debugInfo(std::uint32_t id, std::vector<std::string> parameters) const
{
    constexpr std::size_t kMost = 5;
    constexpr std::size_t kLargest = 1U << 24U;
    if (parameters.size() > kMost)
        throw std::invalid_argument("debug information takes five parameters at most");
    parameters.resize(kMost);
    const char* texts[kMost];
    std::ranges::transform(parameters, texts, detail::terminated);
    std::string answer;
    std::int32_t code = ZEL_SRV_BUFFER_TOO_SMALL;
    // This one does not tell how much is needed.
    for (std::size_t room = detail::kShortText;
         code == ZEL_SRV_BUFFER_TOO_SMALL && room <= kLargest; room *= 16) {
        answer.assign(room, '\0');
        code = ZEL_XSYS_RequestDebugInfo(uuid(), id, texts[0], texts[1], texts[2], texts[3],
                                         texts[4], answer.data(), answer.size());
    }
    m_connection->check(
        code, [&] { return "read the debug information " + std::to_string(id); }, Answer::data);
    answer.resize((std::min)(answer.find('\0'), answer.size()));
    return answer;
}

inline std::vector<Signal> Module::signals() const
{
    constexpr std::size_t kRoom = 256;
    std::vector<Signal> signals;
    for (const ZEL_SignalInfoEx& info : detail::readRecords<ZEL_SignalInfoEx>(
             *m_connection, kRoom, [] { return "list the signals"; }, ZEL_XDAQ_GetSignalListEx)) {
        signals.push_back({.reference = detail::fieldText(info.id),
                           .name = detail::fieldText(info.name),
                           .unit = detail::fieldText(info.unit),
                           .path = detail::fieldText(info.path),
                           .sampleRate = info.sampleRate,
                           .dataType = info.dataType,
                           .recordKind = info.recordKind,
                           .isEnabled = info.isEnabled == 1,
                           .connectorType = info.connectorType,
                           .connector = info.connector,
                           .channel = info.channel,
                           .signal = info.signal});
    }
    return signals;
}

inline Signal Module::signal(const std::string& text) const
{
    return chooseSignal(signals(), text);
}

inline double Module::value(const std::string& reference) const
{
    double value = 0;
    m_connection->check(
        ZEL_XDAQ_GetMeasVal(uuid(), detail::terminated(reference), &value),
        [&] { return "read " + reference; }, Answer::data);
    return value;
}

inline std::vector<MeasuredValue> Module::values(bool enabledOnly) const
{
    constexpr std::size_t kRoom = 256;
    std::vector<MeasuredValue> values;
    for (const ZEL_MeasuredValue& one : detail::readRecords<ZEL_MeasuredValue>(
             *m_connection, kRoom, [] { return "read the values"; },
             [&](std::uint64_t uuid, ZEL_MeasuredValue*records, std::uint64_t*count,
                 std::uint64_t capacity) {
                 return ZEL_XDAQ_GetAllMeasVals(uuid, enabledOnly ? 1 : 0, records, count,
                                                capacity);
             }))
        values.push_back({detail::fieldText(one.id), one.value});
    return values;
}

} // namespace zel

#endif
