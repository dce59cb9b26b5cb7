#pragma once

#include <future>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/post.hpp>

namespace zel::simulator {

/// Runs `action` on the simulator's thread and returns what it returns; on that thread itself it
/// runs at once.
template <class Action>
auto onLoop(asio::io_context& context, Action action)
{
    if (context.get_executor().running_in_this_thread())
        return action();
    std::packaged_task<decltype(action())()> task{std::move(action)};
    auto result = task.get_future();
    asio::post(context, [&task] { task(); });
    return result.get();
}

} // namespace zel::simulator
