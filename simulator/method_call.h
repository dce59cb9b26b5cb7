#pragma once

#include "methods.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zel::simulator {

using std::chrono::milliseconds;

using wire::MethodId;

/// One method request as a service of the module sees it.
struct MethodCall {
    std::uint64_t source = 0;
    MethodId id;
    std::string data;
    std::uint64_t connection = 0; ///< its number among the module's; 0 for a datagram
};

/// A result code with what goes with it: the answer's text, or the error's for a person.
struct Outcome {
    std::int32_t result = 0;
    std::string text;

    bool isGood() const { return result == 0; }
};

/// What a method answers, and how the answer travels.
struct MethodAnswer {
    MethodAnswer() = default;
    MethodAnswer(std::int32_t code, std::string bytes = {}) : result(code), data(std::move(bytes))
    {
    }
    MethodAnswer(Outcome outcome) : result(outcome.result), data(std::move(outcome.text)) {}

    std::int32_t result = 0;
    std::string data;
    /// Sends RESP_PEND with this time first. Without it the module decides: it does so before an
    /// answer in segments and before one that is delayed by a second or more.
    std::optional<milliseconds> pending;
    milliseconds delay{0};
    /// Without it the size decides.
    std::optional<bool> segmented;
    /// No answer follows, though RESP_PEND goes out when `pending` is set.
    bool silent = false;
    /// Runs once on the simulator's thread, when the answer has left or can no longer leave.
    std::function<void()> afterwards;
};

using MethodHandler = std::function<MethodAnswer(const MethodCall&)>;

/// A request as it came in, with its exact bytes: what tests compare with golden documents.
struct ReceivedCall {
    std::uint64_t source = 0;
    std::uint64_t destination = 0;
    std::uint16_t label = 0;
    MethodId id;
    std::string data;
    bool segmented = false;
    bool datagram = false;
    std::chrono::steady_clock::time_point arrived;
};

} // namespace zel::simulator
