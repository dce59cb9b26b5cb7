#include "telegram_container.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zel {

namespace {

// realloc moves large blocks by their pages instead of copying them.
std::byte* reallocate(std::byte* bytes, std::size_t size)
{
    auto* const moved =
        static_cast<std::byte*>(std::realloc(bytes, std::max<std::size_t>(size, 1)));
    if (!moved)
        throw std::bad_alloc{};
    return moved;
}

} // namespace

clRxTelContainer::clRxTelContainer(std::size_t size)
    : m_size(size), m_bytes(reallocate(nullptr, size)), m_isOwn(true)
{
}

clRxTelContainer::clRxTelContainer(std::size_t frontSize, MutableBytes place)
    : m_frontSize(frontSize),
      m_size(frontSize + place.size()),
      m_bytes(place.data()),
      m_isOwn(false)
{
    assert(frontSize <= kMaxFront);
}

clRxTelContainer::~clRxTelContainer()
{
    if (m_isOwn)
        std::free(m_bytes);
}

MutableBytes clRxTelContainer::writable(std::size_t offset)
{
    if (offset < m_frontSize)
        return MutableBytes{m_front}.first(m_frontSize).subspan(offset);
    return {m_bytes + (offset - m_frontSize), m_size - offset};
}

void clRxTelContainer::write(std::size_t offset, Bytes bytes)
{
    while (!bytes.empty()) {
        const MutableBytes place = writable(offset);
        const std::size_t step = std::min(place.size(), bytes.size());
        std::memcpy(place.data(), bytes.data(), step);
        offset += step;
        bytes = bytes.subspan(step);
    }
}

Bytes clRxTelContainer::payload() const
{
    if (m_consumed < m_frontSize)
        return Bytes{m_front}.first(m_frontSize).subspan(m_consumed);
    return {m_bytes + (m_consumed - m_frontSize), m_size - m_consumed};
}

void clRxTelContainer::takeOff(std::size_t headerSize)
{
    m_consumed = std::min(m_size, m_consumed + headerSize);
}

void clRxTelContainer::resize(std::size_t size)
{
    m_bytes = reallocate(m_bytes, size);
    m_size = size;
    m_consumed = std::min(m_consumed, size);
}

clTxTelContainer::clTxTelContainer(Bytes front, std::string data)
    : m_frontSize(front.size()), m_data(std::move(data))
{
    assert(front.size() <= kMaxFront);
    std::copy(front.begin(), front.end(), m_front.begin());
}

std::array<Bytes, 2> clTxTelContainer::slice(std::size_t offset, std::size_t length) const
{
    const Bytes front = Bytes{m_front}.first(m_frontSize);
    const Bytes all = asBytes(m_data.data(), m_data.size());
    const std::size_t frontOffset = std::min(offset, front.size());
    const std::size_t fromFront = std::min(length, front.size() - frontOffset);
    const std::size_t dataOffset = std::min(offset - frontOffset, all.size());
    const std::size_t fromData = std::min(length - fromFront, all.size() - dataOffset);
    return {front.subspan(frontOffset, fromFront), all.subspan(dataOffset, fromData)};
}

} // namespace zel
