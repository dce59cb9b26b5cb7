#include "trace_names.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zel {

namespace {

using Names = std::pair<std::string_view, std::string_view>;

// What the rule below does not give. The names belong to the scripts that are around: "backgrounf"
// and "paek" stay.
constexpr std::array kOwnNames = std::to_array<Names>({
    {"ZEL_Init", "core.init"},
    {"ZEL_Unload", "core.unload"},
    {"ZEL_XDAQ_GetAnalogMeasVal", "core.daq.get_analog_measval"},
    {"ZEL_XDAQ_GetCanMeasVal", "core.daq.get_can_measval"},
    {"ZEL_XDAQ_GetMeasVal", "core.daq.get_measval"},
    {"ZEL_XPAR_GetLastErrMsg", "core.par.get_last_err_msg_buf"},
    {"ZEL_XSYS_GetBackgroundServiceResult", "core.sys.get_backgrounf_service_result"},
    {"ZEL_XUTIL_ComposePeakPath", "core.util.compose_paek_path"},
    {"ZEL_XUTIL_GetDaqHeader", "err,header = core.util.get_daq_header"},
});

constexpr std::array kNotInScripts = std::to_array<std::string_view>({
    "ZEL_XCOM_Disconnect",
    "ZEL_XCOM_DoFirewireScan",
    "ZEL_XCOM_GetSyncReqrSrvLastErrDat",
    "ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid",
    "ZEL_XDAQ_GetMeasValByType",
    "ZEL_XPAR_GetLastErrMsgByUuid",
    "ZEL_XSTAT_GetErrorStatusEx",
    "ZEL_XSTAT_GetErrorStatusString",
    "ZEL_XSTAT_GetModuleStatusEx",
    "ZEL_XSTAT_GetModuleStatusString",
    "ZEL_XSTAT_GetTedsStatus",
    "ZEL_XSYS_GetTr620CalUgMeasUx",
    "ZEL_XSYS_GetTr620RgRx",
    "ZEL_XUTIL_ComposeCanSensor",
    "ZEL_XUTIL_ComposeCanSignal",
    "ZEL_XUTIL_ComposeGateIndex",
    "ZEL_XUTIL_ComposeSensor",
    "ZEL_XUTIL_ComposeSignal",
    "ZEL_XUTIL_ParseCanSensor",
    "ZEL_XUTIL_ParseCanSignal",
    "ZEL_XUTIL_ParseErrors",
    "ZEL_XUTIL_ParseGateIndex",
    "ZEL_XUTIL_ParseSensor",
    "ZEL_XUTIL_ParseSignal",
});

bool isUpper(char letter)
{
    return letter >= 'A' && letter <= 'Z';
}

bool isLower(char letter)
{
    return letter >= 'a' && letter <= 'z';
}

/// "read_xml_sect" for "ReadXMLSect": a word begins with the capital letter behind a small one, or
/// before one.
std::string joinedWords(std::string_view name)
{
    std::string words;
    for (std::size_t at = 0; at < name.size(); ++at) {
        const bool isBehindWord = at > 0 && name[at - 1] != '_';
        const bool isBeforeSmall = at + 1 < name.size() && isLower(name[at + 1]);
        if (isUpper(name[at]) && isBehindWord && (isLower(name[at - 1]) || isBeforeSmall))
            words += '_';
        words += isUpper(name[at]) ? static_cast<char>(name[at] - 'A' + 'a') : name[at];
    }
    return words;
}

} // namespace

std::string traceName(std::string_view exportName)
{
    constexpr std::string_view kPrefix = "ZEL_X";
    const auto own = std::ranges::find(kOwnNames, exportName, &Names::first);
    if (own != kOwnNames.end())
        return std::string{own->second};
    if (!exportName.starts_with(kPrefix) || std::ranges::count(kNotInScripts, exportName) != 0)
        return {};
    exportName.remove_prefix(kPrefix.size());
    const std::size_t family = exportName.find('_');
    return "core." + joinedWords(exportName.substr(0, family)) + "." +
           joinedWords(exportName.substr(family + 1));
}

} // namespace zel
