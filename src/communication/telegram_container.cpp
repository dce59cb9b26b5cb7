#include "telegram_container.h"

#include "mutex.h"
#include "process_wide.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <mutex>
#include <new>

namespace zel {

namespace {

/// A few blocks for the largest telegrams, so that the segments of a long answer always land in
/// memory that the processor has at hand.
class SpareBlocks {
public:
    static constexpr std::size_t kBlockSize = 65536;

    static bool serves(std::size_t size) { return size > kBlockSize / 4 && size <= kBlockSize; }

    std::byte* take()
    {
        const std::lock_guard lock{m_mutex};
        if (m_count == 0)
            return nullptr;
        return m_blocks[--m_count];
    }
    void drop()
    {
        const std::lock_guard lock{m_mutex};
        while (m_count > 0)
            std::free(m_blocks[--m_count]);
    }
    bool keep(std::byte* block)
    {
        const std::lock_guard lock{m_mutex};
        if (m_count == m_blocks.size())
            return false;
        m_blocks[m_count++] = block;
        return true;
    }

private:
    Mutex m_mutex;
    std::array<std::byte*, 4> m_blocks{};
    std::size_t m_count = 0;
};

constinit ProcessWide<SpareBlocks> g_spareBlocks;

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
    : clTelContainer(size), m_isSpareBlock(SpareBlocks::serves(size))
{
    if (m_isSpareBlock)
        m_bytes = g_spareBlocks->take();
    if (!m_bytes)
        m_bytes = reallocate(nullptr, m_isSpareBlock ? SpareBlocks::kBlockSize : size);
}

clRxTelContainer::~clRxTelContainer()
{
    if (!m_isSpareBlock || !g_spareBlocks->keep(m_bytes))
        std::free(m_bytes);
}

void clRxTelContainer::dropSpareBlocks()
{
    if (SpareBlocks* const blocks = g_spareBlocks.ifMade())
        blocks->drop();
}

void clRxTelContainer::takeOff(std::size_t headerSize)
{
    m_consumed = std::min(m_size, m_consumed + headerSize);
}

void clRxTelContainer::resize(std::size_t size)
{
    m_bytes = reallocate(m_bytes, size);
    m_isSpareBlock = false;
    m_size = size;
    m_consumed = std::min(m_consumed, size);
}

clTxTelContainer::clTxTelContainer(std::size_t size) : clTelContainer(size), m_data(size, '\0') {}

clTxTelContainer::clTxTelContainer(Bytes front, std::string data)
    : clTelContainer(front.size() + data.size()), m_frontSize(front.size()), m_data(std::move(data))
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
