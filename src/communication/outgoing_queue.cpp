#include "outgoing_queue.h"

#include "socket_nonblocking.h"

#include <algorithm>
#include <array>
#include <new>

namespace zel::communication {

namespace {

// Whoever sends does it for the others too, but not for ever.
constexpr int kRounds = 8;
constexpr std::size_t kGathered = 16;
constexpr std::size_t kCostOfAPiece = 128;

std::size_t sizeOf(std::span<const Bytes> parts)
{
    std::size_t size = 0;
    for (const Bytes part : parts)
        size += part.size();
    return size;
}

} // namespace

OutgoingQueue::Pieces OutgoingQueue::copyOf(std::span<const Bytes> parts, std::size_t offset)
{
    const std::size_t size = sizeOf(parts) - offset;
    Pieces pieces;
    pieces.push_back({std::make_shared_for_overwrite<std::byte[]>(size), {}});
    std::byte* const memory = pieces.front().memory.get();
    pieces.front().left = {memory, size};
    std::byte* end = memory;
    for (const Bytes part : parts) {
        const std::size_t skipped = std::min(offset, part.size());
        offset -= skipped;
        end = std::copy(part.begin() + static_cast<std::ptrdiff_t>(skipped), part.end(), end);
    }
    return pieces;
}

bool OutgoingQueue::fitsLocked(std::size_t size, std::size_t limit) const
{
    return m_pieces.empty() || m_waiting + size + kCostOfAPiece <= limit;
}

OutgoingQueue::Outcome OutgoingQueue::put(std::span<const Bytes> parts, std::size_t limit)
{
    return beginSending() ? sendFirst(parts) : putBehind(parts, limit);
}

bool OutgoingQueue::beginSending()
{
    const std::lock_guard lock{m_mutex};
    if (m_state != State::idle)
        return false;
    m_state = State::sending;
    return true;
}

OutgoingQueue::Outcome OutgoingQueue::sendFirst(std::span<const Bytes> parts)
{
    const native::Transfer sent = m_socket.sendSome(parts);
    if (sent.count < 0 && sent.failure == native::Failure::other)
        return giveUp(false);
    const auto count = static_cast<std::size_t>(std::max<std::ptrdiff_t>(sent.count, 0));
    if (count < sizeOf(parts)) {
        Pieces rest;
        try {
            rest = copyOf(parts, count);
        } catch (const std::bad_alloc&) {
            if (count > 0)
                return giveUp(true);
            if (sendWaiting() == Outcome::torn)
                return Outcome::torn;
            throw;
        }
        const std::lock_guard lock{m_mutex};
        m_waiting += rest.front().left.size() + kCostOfAPiece;
        m_pieces.splice(m_pieces.begin(), rest);
    }
    return sendWaiting();
}

OutgoingQueue::Outcome OutgoingQueue::putBehind(std::span<const Bytes> parts, std::size_t limit)
{
    const std::size_t size = sizeOf(parts);
    {
        const std::lock_guard lock{m_mutex};
        if (m_state != State::closed && !fitsLocked(size, limit))
            return Outcome::noRoom;
    }
    Pieces made = copyOf(parts, 0);
    {
        const std::lock_guard lock{m_mutex};
        if (m_state == State::closed)
            return Outcome::notSent;
        if (!fitsLocked(size, limit))
            return Outcome::noRoom;
        m_waiting += size + kCostOfAPiece;
        m_pieces.splice(m_pieces.end(), made);
        if (m_state != State::idle)
            return Outcome::accepted;
        m_state = State::sending;
    }
    return sendWaiting();
}

OutgoingQueue::Outcome OutgoingQueue::sendWaiting()
{
    for (int round = 0; round < kRounds; ++round) {
        std::array<Bytes, kGathered> parts;
        std::size_t count = 0;
        {
            const std::lock_guard lock{m_mutex};
            if (m_state == State::closed)
                break;
            if (m_pieces.empty()) {
                m_state = State::idle;
                return Outcome::accepted;
            }
            for (auto piece = m_pieces.begin(); piece != m_pieces.end() && count < kGathered;
                 ++piece)
                parts[count++] = piece->left;
        }
        const native::Transfer sent = m_socket.sendSome(std::span{parts}.first(count));
        if (sent.count < 0 && sent.failure == native::Failure::other)
            return giveUpWaiting();
        if (sent.count <= 0)
            break;
        taken(static_cast<std::size_t>(sent.count));
    }
    return askForRoom();
}

void OutgoingQueue::taken(std::size_t count)
{
    Pieces gone; // freed without the lock
    const std::lock_guard lock{m_mutex};
    m_waiting -= count;
    while (count > 0) {
        Bytes& left = m_pieces.front().left;
        const std::size_t step = std::min(count, left.size());
        left = left.subspan(step);
        count -= step;
        if (!left.empty())
            break;
        m_waiting -= kCostOfAPiece;
        gone.splice(gone.end(), m_pieces, m_pieces.begin());
    }
    if (m_callers > 0)
        m_hasRoom.notify_all();
}

OutgoingQueue::Outcome OutgoingQueue::askForRoom()
{
    Piece first;
    {
        const std::lock_guard lock{m_mutex};
        if (m_state != State::closed) {
            if (m_pieces.empty()) {
                m_state = State::idle;
                return Outcome::accepted;
            }
            first = m_pieces.front();
            m_state = State::waitingForRoom;
            m_isWaitingForRoom = true;
        }
    }
    if (first.memory) {
        if (m_socket.askForRoom(first.left, first.memory))
            return Outcome::accepted;
        const std::lock_guard lock{m_mutex};
        // The loop may have found room by itself, and is sending.
        if (m_state != State::waitingForRoom)
            return Outcome::accepted;
        m_state = State::sending;
    }
    return giveUpWaiting();
}

OutgoingQueue::Outcome OutgoingQueue::goOn()
{
    if (!m_isWaitingForRoom)
        return Outcome::accepted;
    const auto count = m_socket.takenBytes();
    if (!count)
        return Outcome::accepted;
    {
        const std::lock_guard lock{m_mutex};
        if (m_state != State::waitingForRoom)
            return Outcome::accepted;
        m_state = State::sending;
        m_isWaitingForRoom = false;
    }
    taken(*count);
    return sendWaiting();
}

bool OutgoingQueue::waitForRoom(std::size_t size, Clock::time_point deadline)
{
    std::unique_lock lock{m_mutex};
    ++m_callers;
    const bool hasRoom = m_hasRoom.wait_until(
        lock, deadline, [&] { return m_state == State::closed || fitsLocked(size, kRoom); });
    --m_callers;
    return hasRoom;
}

OutgoingQueue::Outcome OutgoingQueue::giveUp(bool isTorn)
{
    Pieces dropped;
    const std::lock_guard lock{m_mutex};
    const bool wasClosed = m_state == State::closed;
    dropped.swap(m_pieces);
    isTorn = isTorn || !dropped.empty();
    m_waiting = 0;
    m_isWaitingForRoom = false;
    m_state = wasClosed || isTorn ? State::closed : State::idle;
    m_hasRoom.notify_all();
    return isTorn && !wasClosed ? Outcome::torn : Outcome::notSent;
}

OutgoingQueue::Outcome OutgoingQueue::giveUpWaiting()
{
    return giveUp(true) == Outcome::torn ? Outcome::torn : Outcome::accepted;
}

void OutgoingQueue::close()
{
    Pieces dropped;
    const std::lock_guard lock{m_mutex};
    // Whoever is sending drops them: the system may be reading them.
    if (m_state != State::sending)
        dropped.swap(m_pieces);
    m_state = State::closed;
    m_isWaitingForRoom = false;
    m_hasRoom.notify_all();
}

} // namespace zel::communication
