/**
 * @file module.hpp
 * A connected module. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_MODULE_HPP
#define ZEL_MODULE_HPP

#include "connection.hpp"
#include "network.hpp"
#include "signal.hpp"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// One error that a module has. Connector, channel and signal count from 1, and are 0 where they do
/// not apply.
struct ModuleError {
    std::uint32_t level = 0; ///< severity, as the module numbers it
    std::int32_t code = 0;
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::string text{}; ///< up to 128 bytes of what the module says
};

/// One status value of a module, with the same numbers.
struct StatusValue {
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::uint32_t statusId = 0; ///< which status it is, as the module numbers it
    std::uint64_t value = 0;
    std::string info{}; ///< up to 128 bytes
};

/// The memory in a sensor's plug.
struct Teds {
    std::string identifier{}; ///< 16 hexadecimal digits, least significant byte first
    std::string data{};       ///< bytes
};

struct TedsStatus {
    std::uint32_t status = 0; ///< as the module numbers it
    std::string error{};
    std::string warning{};
};

/// How far new firmware is.
struct FlashStatus {
    std::uint32_t status = 0;   ///< as the module numbers it
    std::uint32_t progress = 0; ///< in percent
};

/// One module, connected for as long as this lives.
///
/// Two of one module share the library's one connection to it, and so do its Subscription and
/// PendingFetch objects: the last of them that is destroyed closes it. A connection that is lost
/// stays lost: calls throw an Error that isConnectionLost(), and a new Module dials again.
///
/// Unless said otherwise a function asks the module and blocks for the request time (see
/// ZEL_VR_Framework.h, "Threads and time"), any number of threads may call at the same time, and it
/// throws Error for what the library or the module refuses, std::invalid_argument for a text with a
/// zero byte inside. Texts are UTF-8, documents XML. Texts of any length are read whole: asked for
/// once where they have up to 4 KiB, documents up to 1 MiB, else a second time. A module's warning
/// (a positive code) does not throw: the call has done its work, and lastWarning() tells.
///
/// Connectors, channels and signals count from 1, as on the module's label.
///
/// Move only; what was moved from can only be destroyed and assigned to.
class Module {
public:
    /// What most people mean by "the parameters".
    static constexpr std::uint32_t kView = 1;

    /// Connects (ZEL_XCOM_ConnectToTcpIpDev). Blocks for name resolution and 10 s at most; where a
    /// connection that is there has been silent, also as long as a read. Throws Error.
    explicit Module(const Address& address)
        : m_connection(std::make_shared<const detail::Connection>(address))
    {
    }

    /// Connects to what the text names (ModuleTarget): "192.168.169.20", "amplifier-3:55001", the
    /// module's name or UUID. What is no address, or a host that nobody accepts connections on, is
    /// looked for by findModule(), which takes 3 s. Throws std::invalid_argument for a text that is
    /// neither; Error.
    explicit Module(const std::string& text) : Module(connectedTo(ModuleTarget::parse(text))) {}
    explicit Module(const char* text) : Module(std::string(text)) {}

    Module(Module&&) noexcept = default;
    Module& operator=(Module&&) noexcept = default;

    /// Returns at once.
    std::uint64_t uuid() const noexcept { return m_connection->uuid(); }
    /// Where it was reached, whatever it was called by. Returns at once.
    const Address& address() const noexcept { return m_connection->address(); }

    /// Closes the connection for all that use it, whichever thread they are in: their calls end
    /// with ZEL_CONN_RECEIVE_FAILED, those that come later with ZEL_CONN_UNKNOWN_UUID
    /// (ZEL_XCOM_Disconnect). Returns at once; does not throw.
    void disconnect() noexcept { ZEL_XCOM_Disconnect(uuid()); }

    /// The last warning of the module to a call by this object, or by a Subscription made of it;
    /// nothing before the first one. Returns at once.
    std::optional<Warning> lastWarning() const { return m_connection->lastWarning(); }
    void forgetWarning() { m_connection->forgetWarning(); }

    /// What the functions here do with the result of a call: throws Error for a negative one,
    /// "could not <tried> on <address>", and keeps a positive one as the last warning. For exports
    /// that have no function here.
    void check(std::int32_t code, const std::string& tried, Answer answer = Answer::words) const
    {
        m_connection->check(
            code, [&] { return tried; }, answer);
    }

    /// The text of a result code, asked from the module where the library has none; "" where
    /// neither has (ZEL_XUTIL_GetTextFromModule).
    std::string textOf(std::int32_t code) const { return detail::codeText(uuid(), code); }

    /* --------------------------------------------------------------------------------------------
     * Parameters: a path is the names of elements joined by "/", "System/Name"
     * ----------------------------------------------------------------------------------------- */

    /// A parameter as text (ZEL_XPAR_ReadPar).
    std::string get(const std::string& path, std::uint32_t view = kView) const;
    /// A parameter as a number (ZEL_XPAR_ReadDoublePar); Error with the code
    /// ZEL_UTIL_STRING_CONVERSION where it is none.
    double getNumber(const std::string& path, std::uint32_t view = kView) const;

    /// Writes a parameter (ZEL_XPAR_WriteStringPar, -WriteIntPar, -WriteDoublePar, which sends six
    /// decimals; what needs more is written as text).
    void set(const std::string& path, const std::string& value, std::uint32_t view = kView);
    void set(const std::string& path, const char* value, std::uint32_t view = kView)
    {
        set(path, std::string(value), view);
    }
    void set(const std::string& path, std::int32_t value, std::uint32_t view = kView);
    void set(const std::string& path, double value, std::uint32_t view = kView);

    /// The document of a view, or of the section below a path (ZEL_XPAR_ReadXML, -ReadXMLSect);
    /// `currentChoicesOnly`: only what can be chosen at present.
    std::string document(std::uint32_t view = kView, const std::string& section = "",
                         bool currentChoicesOnly = false) const;
    /// Writes it, or a section (ZEL_XPAR_WriteXML, -WriteXMLSect). std::invalid_argument from 4 GiB
    /// on.
    void writeDocument(std::uint32_t view, std::string_view document,
                       const std::string& section = "");
    /// Its schema, or a section's (ZEL_XPAR_ReadXSD, -ReadXSDSect), and its style sheet
    /// (ZEL_XPAR_ReadXSLT).
    std::string schema(std::uint32_t view = kView, const std::string& section = "") const;
    std::string styleSheet(std::uint32_t view = kView) const;
    /// The list of views, as a document (ZEL_XPAR_GetParViewsString).
    std::string views() const;

    /// Resets what an XPath selects to its default, or everything (ZEL_XPAR_ActivateDefaultSetting,
    /// ZEL_XPAR_ActivateAllDefaultSettings).
    void reset(const std::string& xpath, std::uint32_t view = kView);
    void resetAll();

    /* --------------------------------------------------------------------------------------------
     * Controls
     * ----------------------------------------------------------------------------------------- */

    /// Executes a control with text parameters, numbers in them as the module counts
    /// (ZEL_XCTRL_Execute).
    void execute(const std::string& control, std::span<const std::string> parameters);
    void execute(const std::string& control, std::initializer_list<std::string> parameters = {})
    {
        execute(control, std::span<const std::string>(parameters.begin(), parameters.size()));
    }
    /// Executes one with a parameter document, once, and gives the module's answer
    /// (ZEL_XCTRL_ExecuteXMLPars). Error with the code ZEL_SRV_BUFFER_TOO_SMALL where the control
    /// has been executed, but its answer is lost: one of exactly 1 MiB, or a longer one whose place
    /// another call to the same module took at once.
    std::string executeDocument(const std::string& control, const std::string& parameters);

    /// The list of controls (ZEL_XCTRL_GetControlsString), and the document, the schema and the
    /// style sheet of one (ZEL_XCTRL_ReadXML, -ReadXSD, -ReadXSLT).
    std::string controls() const;
    std::string controlDocument(const std::string& control) const;
    std::string controlSchema(const std::string& control) const;
    std::string controlStyleSheet(const std::string& control) const;

    /// The present value of an analog signal becomes 0, or `target`, in its unit
    /// (ZEL_XCTRL_SetZero, -SetZeroWithTarget). std::invalid_argument for a number of 0.
    void setZero(std::uint32_t connector, std::uint32_t signal,
                 std::optional<double> target = std::nullopt);
    /// Sets the mode of an LED, both as the module numbers them (ZEL_XCTRL_SetLedMode).
    void setLed(std::uint32_t led, std::uint32_t mode);

    /* --------------------------------------------------------------------------------------------
     * State
     * ----------------------------------------------------------------------------------------- */

    /// The errors that the module has by itself, and its status values: 550 at most
    /// (ZEL_XSTAT_GetErrorStatusEx, ZEL_XSTAT_GetModuleStatusEx).
    std::vector<ModuleError> errors() const;
    std::vector<StatusValue> status() const;
    /// The modules that are connected to this one (ZEL_XSTAT_GetConnectedModules).
    std::vector<ZEL_ConnectedModule> connectedModules() const;

    /// The TEDS of the sensor at a connector, and its state (ZEL_XPAR_ReadTedsBinary,
    /// ZEL_XSTAT_GetTedsStatus). std::invalid_argument for connector 0.
    Teds teds(std::uint32_t connector) const;
    TedsStatus tedsStatus(std::uint32_t connector) const;
    /// Writes it, and gives the identifier that the module assigned (ZEL_XPAR_WriteTedsBinary).
    std::string writeTeds(std::uint32_t connector, std::string_view data);

    /* --------------------------------------------------------------------------------------------
     * Files, firmware, restart
     * ----------------------------------------------------------------------------------------- */

    /// Copies a file of the module to the host, or of the host to the module; host files by the
    /// file rule of ZEL_VR_Framework.h (ZEL_XSYS_ReadFile, ZEL_XSYS_WriteFile). Block for the
    /// transfer.
    void readFile(const std::string& moduleFile, const std::string& hostFile) const;
    void writeFile(const std::string& hostFile, const std::string& moduleFile);

    /// Transfers the firmware images of a host folder (ZEL_XSYS_WriteFirmware). Blocks for the
    /// transfer, one at a time.
    void writeFirmware(const std::string& folder);
    /// Begins to flash what was transferred (ZEL_XSYS_StartFlashing), and tells how far that is
    /// (ZEL_XSYS_GetFlashStatus): done at 100 %.
    void startFlashing();
    FlashStatus flashStatus() const;

    /// Restarts the module; its connection is closed afterwards (ZEL_XSYS_DoRestartSystem). Modules
    /// that go down at once do not answer: Error with ZEL_CONN_RECEIVE_FAILED or a time-out.
    void restart();

    /// Debug information, with up to five parameters (ZEL_XSYS_RequestDebugInfo):
    /// std::invalid_argument for more.
    std::string debugInfo(std::uint32_t id, std::vector<std::string> parameters = {}) const;

    /* --------------------------------------------------------------------------------------------
     * Measured values; gapless ones come by Subscription
     * ----------------------------------------------------------------------------------------- */

    /// All signals (ZEL_XDAQ_GetSignalListEx).
    std::vector<Signal> signals() const;
    /// The one that a text names, by reference or name; see chooseSignal().
    Signal signal(const std::string& text) const;

    /// The current value of a signal, by its reference or parameter path, in its unit
    /// (ZEL_XDAQ_GetMeasVal); see isNoValue().
    double value(const std::string& reference) const;
    /// Those of all signals, or of those that are switched on (ZEL_XDAQ_GetAllMeasVals).
    std::vector<MeasuredValue> values(bool enabledOnly = true) const;

private:
    friend class Subscription;

    static Module connectedTo(const ModuleTarget& target)
    {
        try {
            if (target.address)
                return Module(*target.address);
        } catch (const Error& error) {
            if (error.code() != ZEL_TCP_CONNECT_FAILED || !target.mayBeName)
                throw;
        }
        const Library library; // not to be started for the scan alone
        return Module(*findModule(target.text).tcpAddress());
    }

    template <class Call>
    std::string read(std::size_t room, const std::string& what, Call&& call) const
    {
        return detail::readText(
            *m_connection, room, [&] { return "read " + what; }, call);
    }

    static void requireNumber(std::uint32_t number)
    {
        if (number == 0)
            throw std::invalid_argument("connectors and signals count from 1");
    }

    detail::ConnectionPointer m_connection;
};

} // namespace zel

#include "module_calls.hpp"

#endif
