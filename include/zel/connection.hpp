/**
 * @file connection.hpp
 * What Module and Subscription share: one connection, and reading what has any length. Included by
 * ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_CONNECTION_HPP
#define ZEL_CONNECTION_HPP

#include "address.hpp"
#include "library.hpp"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace zel {

/// What a module sends with its answer besides the code.
enum class Answer : std::uint8_t {
    words, ///< an explanation, if anything
    data   ///< what was asked for; an explanation only where there is a failure
};

namespace detail {

inline constexpr std::size_t kShortText = 4096;                 // first room for a value
inline constexpr std::size_t kDocument = std::size_t{1} << 20U; // and for a document
inline constexpr std::uint64_t kLongestText = std::uint64_t{1} << 30U;

} // namespace detail

/// Calls what fills (buffer, length, capacity) by the buffer rule of ZEL_VR_Framework.h, with a
/// larger buffer as long as the text does not fit, up to 1 GiB: it may grow between two calls. The
/// first room, in bytes, should be large enough, for a text that did not fit travels a second time.
/// Gives the call's result; `text` is what it was where that is below 0. For exports that Module
/// does not offer:
///
///     std::string text;
///     module.check(zel::readGrowing(text, [&](auto... buffer) {
///         return ZEL_XSTAT_GetErrorStatusString(module.uuid(), buffer...);
///     }), "read the errors");
template <class Call>
std::int32_t readGrowing(std::string& text, Call&& call, std::size_t room = detail::kShortText)
{
    constexpr int kAttempts = 5;
    std::uint64_t capacity = room;
    std::int32_t code = ZEL_OK;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const auto buffer = std::make_unique_for_overwrite<char[]>(capacity);
        std::uint64_t length = 0;
        code = call(buffer.get(), &length, capacity);
        if (code >= ZEL_OK)
            text.assign(buffer.get(), length);
        if (code != ZEL_SRV_BUFFER_TOO_SMALL || length < capacity || length > detail::kLongestText)
            break;
        capacity = length + 1;
    }
    return code;
}

namespace detail {

/// What all connections of this program or DLL to one module share: the library has but one, and
/// but one subscription of it.
struct ModuleShare {
    unsigned users = 0;                         ///< under the lock of ModuleShares
    std::atomic<std::uint64_t> subscription{0}; ///< the number of the one that was opened last
};

/// Whoever leaves a module last closes the connection.
class ModuleShares {
public:
    static std::shared_ptr<ModuleShare> join(const Address& address, std::uint64_t& uuid)
    {
        for (;;) {
            const std::uint64_t closedBefore = all().closed.load();
            connect(address, uuid);
            std::shared_ptr<ModuleShare> share = enter(uuid);
            // From here on nobody closes it. Where somebody did so just before, it is opened again.
            if (all().closed.load() == closedBefore)
                return share;
            const std::uint64_t entered = uuid;
            try {
                connect(address, uuid);
            } catch (...) {
                leave(entered, false);
                throw;
            }
            if (uuid == entered)
                return share;
            leave(entered, false);
        }
    }

    static void leave(std::uint64_t uuid, bool isConnected = true) noexcept
    {
        const std::lock_guard lock(all().mutex);
        const auto found = all().shares.find(uuid);
        if (--found->second->users > 0)
            return;
        all().shares.erase(found);
        if (isConnected)
            ZEL_XCOM_Disconnect(uuid);
        ++all().closed; // only now: who connects sees it in time or finds nothing to share
    }

private:
    struct All {
        std::mutex mutex;
        std::map<std::uint64_t, std::shared_ptr<ModuleShare>> shares; // under the mutex
        std::atomic<std::uint64_t> closed{0};
    };

    static All& all()
    {
        static All& one = *new All; // outlives every global object
        return one;
    }

    static void connect(const Address& address, std::uint64_t& uuid)
    {
        const std::int32_t code =
            ZEL_XCOM_ConnectToTcpIpDev(terminated(address.host), address.port, &uuid);
        if (code < ZEL_OK)
            throw Error({.code = code,
                         .tried = "connect to " + address.text(),
                         .codeText = codeText(ZEL_NO_MODULE, code)});
    }

    static std::shared_ptr<ModuleShare> enter(std::uint64_t uuid)
    {
        const std::lock_guard lock(all().mutex);
        auto& share = all().shares[uuid];
        if (!share)
            share = std::make_shared<ModuleShare>();
        ++share->users;
        return share;
    }
};

class Connection {
public:
    explicit Connection(Address address)
        : m_address(std::move(address)),
          m_name(m_address.text()),
          m_share(ModuleShares::join(m_address, m_uuid))
    {
    }
    ~Connection() { ModuleShares::leave(m_uuid); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::uint64_t uuid() const { return m_uuid; }
    const Address& address() const { return m_address; }
    /// Its text.
    const std::string& name() const { return m_name; }
    ModuleShare& share() const { return *m_share; }

    /// Throws Error for a negative code, and keeps a positive one as the last warning. `tried` is
    /// asked for its text then only.
    template <class Tried>
    void check(std::int32_t code, Tried&& tried, Answer answer = Answer::words) const
    {
        if (code != ZEL_OK)
            judge(code, std::string(tried()), answer);
    }

    std::optional<Warning> lastWarning() const
    {
        const std::lock_guard lock(m_mutex);
        return m_warning;
    }
    void forgetWarning() const
    {
        const std::lock_guard lock(m_mutex);
        m_warning.reset();
    }

private:
    void judge(std::int32_t code, std::string tried, Answer answer) const
    {
        // The module's words first: asking for the code's text is a request of its own, which
        // overwrites them when it fails.
        const bool mayHaveWords = code < ZEL_OK || answer == Answer::words;
        std::string words = mayHaveWords ? lastModuleText(m_uuid) : std::string{};
        if (code < ZEL_OK)
            throw Error({code, std::move(tried), m_name, codeText(m_uuid, code), std::move(words)});
        // A module that warns again and again is not asked again and again what that means.
        std::string text = warningText(code);
        const std::lock_guard lock(m_mutex);
        m_warning = Warning{code, std::move(tried), text, std::move(words)};
        m_warningCode = code;
        m_warningText = std::move(text);
    }

    std::string warningText(std::int32_t code) const
    {
        {
            const std::lock_guard lock(m_mutex);
            if (code == m_warningCode)
                return m_warningText;
        }
        return codeText(m_uuid, code);
    }

    const Library m_library;
    const Address m_address;
    const std::string m_name;
    std::uint64_t m_uuid = ZEL_NO_MODULE; // set by m_share's making
    const std::shared_ptr<ModuleShare> m_share;

    mutable std::mutex m_mutex;
    // under m_mutex
    mutable std::optional<Warning> m_warning;
    mutable std::int32_t m_warningCode = ZEL_OK; // the last one that was looked up
    mutable std::string m_warningText;
};

using ConnectionPointer = std::shared_ptr<const Connection>;

/// readGrowing(), checked: call(uuid, buffer, length, capacity).
template <class Tried, class Call>
std::string readText(const Connection& module, std::size_t room, Tried&& tried, Call&& call)
{
    std::string text;
    const std::int32_t code = readGrowing(
        text,
        [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
            return call(module.uuid(), buffer, length, capacity);
        },
        room);
    module.check(code, tried, Answer::data);
    return text;
}

/// Calls what fills (records, count, capacity), with room for as many as there turn out to be.
template <class Record, class Tried, class Call>
std::vector<Record> readRecords(const Connection& module, std::size_t room, Tried&& tried,
                                Call&& call)
{
    constexpr int kAttempts = 5;
    constexpr std::uint64_t kMost = std::uint64_t{1} << 18U;
    std::vector<Record> records(room);
    std::uint64_t count = 0;
    std::int32_t code = ZEL_OK;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        code = call(module.uuid(), records.data(), &count, std::uint64_t{records.size()});
        if (code != ZEL_SRV_BUFFER_TOO_SMALL || count > kMost)
            break;
        // Some calls do not tell how many there are.
        records.resize((std::max<std::uint64_t>)(count, 4 * std::uint64_t{records.size()}));
    }
    module.check(code, tried, Answer::data);
    records.resize((std::min<std::uint64_t>)(count, records.size()));
    return records;
}

/// A text of a record, which may fill its field without a zero byte.
template <std::size_t Size>
std::string fieldText(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

} // namespace detail

} // namespace zel

#endif
