#include "network_ports.h"

#include "command_failure.h"

#include <cstdio>

namespace zel::cli {

namespace {

constexpr std::uint16_t kBroadcastAnswers = 1201;
constexpr std::uint16_t kMulticasts = 1300;

} // namespace

PortCheck checkPort(std::uint16_t port)
{
    const std::string alone = whyNotBound(port, false);
    if (alone.empty())
        return {};
    const std::string sharing = whyNotBound(port, true);
    return sharing.empty() ? PortCheck{PortState::shared, alone}
                           : PortCheck{PortState::taken, sharing};
}

void requireScanPorts()
{
    const PortCheck broadcasts = checkPort(kBroadcastAnswers);
    const PortCheck multicasts = checkPort(kMulticasts);
    const bool hearsBroadcasts = broadcasts.state != PortState::taken;
    const bool hearsMulticasts = multicasts.state != PortState::taken;
    if (!hearsBroadcasts && !hearsMulticasts) {
        throw CommandFailure(
            {.problem = "no module can be heard: other programs keep the UDP ports 1201 (" +
                        broadcasts.reason + ") and 1300 (" + multicasts.reason + ")",
             .advice = "end these programs; modules whose address is known are reached by it"});
    }
    if (hearsBroadcasts && hearsMulticasts)
        return;
    const CommandFailure warning(
        {.problem = "another program keeps the UDP port " +
                    (hearsMulticasts ? "1201 (" + broadcasts.reason + "): answers to broadcasts"
                                     : "1300 (" + multicasts.reason + "): multicasts") +
                    " are not heard",
         .advice = "modules that answer only there are not found; end that program"});
    std::fputs(warning.message().c_str(), stderr);
}

} // namespace zel::cli
