#include "trace_names.h"

#include <algorithm>
#include <array>

namespace zel {

namespace {

struct TraceName {
    std::string_view exportName;
    std::string_view scriptName;
};

// Sorted by export. The names belong to the scripts that are around: "backgrounf" and "paek" stay.
constexpr std::array kNames = std::to_array<TraceName>({
    {"ZEL_Init", "core.init"},
    {"ZEL_Unload", "core.unload"},
    {"ZEL_XCOM_Async_ReadData", "core.com.async_read_data"},
    {"ZEL_XCOM_Async_ReadData_Timeout", "core.com.async_read_data_timeout"},
    {"ZEL_XCOM_ConnectToTcpIpDev", "core.com.connect_to_tcp_ip_dev"},
    {"ZEL_XCOM_DisableZELDevice", "core.com.disable_zel_device"},
    {"ZEL_XCOM_DisconnectFromTcpIpDev", "core.com.disconnect_from_tcp_ip_dev"},
    {"ZEL_XCOM_DoNetScan", "core.com.do_net_scan"},
    {"ZEL_XCOM_GetNetAdapter", "core.com.get_net_adapter"},
    {"ZEL_XCOM_GetOwnUUID", "core.com.get_own_uuid"},
    {"ZEL_XCOM_ReadNetSetting", "core.com.read_net_setting"},
    {"ZEL_XCOM_ReadNetSettings", "core.com.read_net_settings"},
    {"ZEL_XCOM_ScanEthSegment", "core.com.scan_eth_segment"},
    {"ZEL_XCOM_ScanFirewireSegment", "core.com.scan_firewire_segment"},
    {"ZEL_XCOM_WriteNetSetting", "core.com.write_net_setting"},
    {"ZEL_XCTRL_ActivateTeds", "core.ctrl.activate_teds"},
    {"ZEL_XCTRL_Execute", "core.ctrl.execute"},
    {"ZEL_XCTRL_ExecuteXMLPars", "core.ctrl.execute_xml_pars"},
    {"ZEL_XCTRL_GetControls", "core.ctrl.get_controls"},
    {"ZEL_XCTRL_GetControlsString", "core.ctrl.get_controls_string"},
    {"ZEL_XCTRL_GetSignalGeneratorClock", "core.ctrl.get_signal_generator_clock"},
    {"ZEL_XCTRL_ReadXML", "core.ctrl.read_xml"},
    {"ZEL_XCTRL_ReadXSD", "core.ctrl.read_xsd"},
    {"ZEL_XCTRL_ReadXSLT", "core.ctrl.read_xslt"},
    {"ZEL_XCTRL_SetArbitrarySignalGenerator", "core.ctrl.set_arbitrary_signal_generator"},
    {"ZEL_XCTRL_SetCalPoint", "core.ctrl.set_cal_point"},
    {"ZEL_XCTRL_SetI2SToCal", "core.ctrl.set_i2s_to_cal"},
    {"ZEL_XCTRL_SetInputSource", "core.ctrl.set_input_source"},
    {"ZEL_XCTRL_SetLedMode", "core.ctrl.set_led_mode"},
    {"ZEL_XCTRL_SetPllVoltage", "core.ctrl.set_pll_voltage"},
    {"ZEL_XCTRL_SetZero", "core.ctrl.set_zero"},
    {"ZEL_XCTRL_SetZeroWithTarget", "core.ctrl.set_zero_with_target"},
    {"ZEL_XCTRL_TransmitUserCanMsg", "core.ctrl.transmit_user_can_msg"},
    {"ZEL_XDAQ_ActivateTrigger", "core.daq.activate_trigger"},
    {"ZEL_XDAQ_AddSignal", "core.daq.add_signal"},
    {"ZEL_XDAQ_Async_GetMeasValBlock", "core.daq.async_get_meas_val_block"},
    {"ZEL_XDAQ_ClearSubscription", "core.daq.clear_subscription"},
    {"ZEL_XDAQ_ClearTrigger", "core.daq.clear_trigger"},
    {"ZEL_XDAQ_FinishSubscription", "core.daq.finish_subscription"},
    {"ZEL_XDAQ_GetAllMeasVals", "core.daq.get_all_meas_vals"},
    {"ZEL_XDAQ_GetAnalogMeasVal", "core.daq.get_analog_measval"},
    {"ZEL_XDAQ_GetCanMeasVal", "core.daq.get_can_measval"},
    {"ZEL_XDAQ_GetMeasVal", "core.daq.get_measval"},
    {"ZEL_XDAQ_GetMeasValBlock", "core.daq.get_meas_val_block"},
    {"ZEL_XDAQ_GetSignalList", "core.daq.get_signal_list"},
    {"ZEL_XDAQ_GetSignalListEx", "core.daq.get_signal_list_ex"},
    {"ZEL_XDAQ_GetSignalListString", "core.daq.get_signal_list_string"},
    {"ZEL_XDAQ_OpenSubscription", "core.daq.open_subscription"},
    {"ZEL_XDAQ_WaitForTrigger", "core.daq.wait_for_trigger"},
    {"ZEL_XPAR_ActivateAllDefaultSettings", "core.par.activate_all_default_settings"},
    {"ZEL_XPAR_ActivateDefaultSetting", "core.par.activate_default_setting"},
    {"ZEL_XPAR_GetLastErrMsg", "core.par.get_last_err_msg_buf"},
    {"ZEL_XPAR_GetMaxCount", "core.par.get_max_count"},
    {"ZEL_XPAR_GetParViews", "core.par.get_par_views"},
    {"ZEL_XPAR_GetParViewsString", "core.par.get_par_views_string"},
    {"ZEL_XPAR_ReadDoublePar", "core.par.read_double_par"},
    {"ZEL_XPAR_ReadPar", "core.par.read_par"},
    {"ZEL_XPAR_ReadTedsBinary", "core.par.read_teds_binary"},
    {"ZEL_XPAR_ReadXML", "core.par.read_xml"},
    {"ZEL_XPAR_ReadXMLSect", "core.par.read_xml_sect"},
    {"ZEL_XPAR_ReadXSD", "core.par.read_xsd"},
    {"ZEL_XPAR_ReadXSDSect", "core.par.read_xsd_sect"},
    {"ZEL_XPAR_ReadXSLT", "core.par.read_xslt"},
    {"ZEL_XPAR_WriteDoublePar", "core.par.write_double_par"},
    {"ZEL_XPAR_WriteIntPar", "core.par.write_int_par"},
    {"ZEL_XPAR_WriteStringPar", "core.par.write_string_par"},
    {"ZEL_XPAR_WriteTedsBinary", "core.par.write_teds_binary"},
    {"ZEL_XPAR_WriteXML", "core.par.write_xml"},
    {"ZEL_XPAR_WriteXMLSect", "core.par.write_xml_sect"},
    {"ZEL_XSTAT_GetConnectedModules", "core.stat.get_connected_modules"},
    {"ZEL_XSTAT_GetErrorStatus", "core.stat.get_error_status"},
    {"ZEL_XSTAT_GetModuleStatus", "core.stat.get_module_status"},
    {"ZEL_XSTAT_GetTopology", "core.stat.get_topology"},
    {"ZEL_XSTAT_GetTopologyString", "core.stat.get_topology_string"},
    {"ZEL_XSYS_DoRestartSystem", "core.sys.do_restart_system"},
    {"ZEL_XSYS_GetBackgroundServiceResult", "core.sys.get_backgrounf_service_result"},
    {"ZEL_XSYS_GetFlashStatus", "core.sys.get_flash_status"},
    {"ZEL_XSYS_ReadFile", "core.sys.read_file"},
    {"ZEL_XSYS_RequestDebugInfo", "core.sys.request_debug_info"},
    {"ZEL_XSYS_SetSimValue", "core.sys.set_sim_value"},
    {"ZEL_XSYS_StartFlashing", "core.sys.start_flashing"},
    {"ZEL_XSYS_StartMSPFlashing", "core.sys.start_msp_flashing"},
    {"ZEL_XSYS_WriteFile", "core.sys.write_file"},
    {"ZEL_XSYS_WriteFirmware", "core.sys.write_firmware"},
    {"ZEL_XUTIL_ComposeAlarmPath", "core.util.compose_alarm_path"},
    {"ZEL_XUTIL_ComposeAmplifierPath", "core.util.compose_amplifier_path"},
    {"ZEL_XUTIL_ComposeChannelPath", "core.util.compose_channel_path"},
    {"ZEL_XUTIL_ComposeGatePath", "core.util.compose_gate_path"},
    {"ZEL_XUTIL_ComposeMathIndexPath", "core.util.compose_math_index_path"},
    {"ZEL_XUTIL_ComposePeakIndexPath", "core.util.compose_peak_index_path"},
    {"ZEL_XUTIL_ComposePeakPath", "core.util.compose_paek_path"},
    {"ZEL_XUTIL_ComposeSensorPath", "core.util.compose_sensor_path"},
    {"ZEL_XUTIL_ComposeSignalPath", "core.util.compose_signal_path"},
    {"ZEL_XUTIL_GetDaqData", "core.util.get_daq_data"},
    {"ZEL_XUTIL_GetDaqHeader", "err,header = core.util.get_daq_header"},
    {"ZEL_XUTIL_GetDllVersion", "core.util.get_dll_version"},
    {"ZEL_XUTIL_GetLastXmlError", "core.util.get_last_xml_error"},
    {"ZEL_XUTIL_GetNilValues", "core.util.get_nil_values"},
    {"ZEL_XUTIL_GetText", "core.util.get_text"},
    {"ZEL_XUTIL_GetTextFromModule", "core.util.get_text_from_module"},
    {"ZEL_XUTIL_GetUnitCodeFromName", "core.util.get_unit_code_from_name"},
    {"ZEL_XUTIL_GetUnitNameFromCode", "core.util.get_unit_name_from_code"},
    {"ZEL_XUTIL_ParseSignalPath", "core.util.parse_signal_path"},
    {"ZEL_XUTIL_SetWorkDir", "core.util.set_work_dir"},
});

} // namespace

std::string_view traceName(std::string_view exportName)
{
    const auto found = std::ranges::lower_bound(kNames, exportName, {}, &TraceName::exportName);
    return found != kNames.end() && found->exportName == exportName ? found->scriptName
                                                                    : std::string_view{};
}

} // namespace zel
