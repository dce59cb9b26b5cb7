/**
 * @file module.hpp
 * A connected module. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_MODULE_HPP
#define ZEL_MODULE_HPP

#include "connection.hpp"
#include "network.hpp"
#include "signal.hpp"

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

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
    /// (ZEL_XCTRL_ExecuteXMLPars). An answer above 1 MiB that another call of the same module took
    /// the place of is lost: Error with the code ZEL_SRV_BUFFER_TOO_SMALL, though the control has
    /// been executed.
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

    detail::ConnectionPointer m_connection;
};

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
        [&] { return "read " + path + detail::inView(view); }, detail::Answer::data);
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
    if (code == ZEL_SRV_BUFFER_TOO_SMALL && detail::moduleText(uuid()).empty()) {
        const char* kept = nullptr;
        std::uint64_t keptLength = 0;
        ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(uuid(), &kept, &keptLength);
        if (kept != nullptr && keptLength == length)
            return {kept, keptLength};
    }
    m_connection->check(
        code, [&] { return "execute " + control; },
        code < ZEL_OK ? detail::Answer::words : detail::Answer::data);
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
    if (connector == 0 || signal == 0)
        throw std::invalid_argument("connectors and signals count from 1");
    m_connection->check(
        target ? ZEL_XCTRL_SetZeroWithTarget(uuid(), connector - 1, signal - 1, *target)
               : ZEL_XCTRL_SetZero(uuid(), connector - 1, signal - 1),
        [&] {
            return "zero signal " + std::to_string(signal) + " of connector " +
                   std::to_string(connector);
        });
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
        [&] { return "read " + reference; }, detail::Answer::data);
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
