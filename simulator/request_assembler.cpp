#include "request_assembler.h"

namespace zel::simulator {

namespace {

constexpr std::size_t kMostAtOnce = 64;

} // namespace

bool RequestAssembler::announce(TransactionKey key, Bytes payload)
{
    ByteReader in{payload};
    const std::size_t total = in.u32();
    if (!in.good() || in.remaining() != 0 || total == 0 || total > m_largest)
        return false;
    if (m_partials.size() >= kMostAtOnce && !m_partials.contains(key))
        return false;
    m_partials[key] = Partial{total, {}};
    return true;
}

RequestAssembler::Progress RequestAssembler::add(TransactionKey key, Bytes piece)
{
    const auto found = m_partials.find(key);
    if (found == m_partials.end())
        return Progress::refused;
    Partial& partial = found->second;
    if (piece.empty() || piece.size() > partial.total - partial.bytes.size()) {
        m_partials.erase(found);
        return Progress::refused;
    }
    partial.bytes.append(reinterpret_cast<const char*>(piece.data()), piece.size());
    return partial.bytes.size() == partial.total ? Progress::whole : Progress::expectsMore;
}

std::string RequestAssembler::take(TransactionKey key)
{
    auto node = m_partials.extract(key);
    return node ? std::move(node.mapped().bytes) : std::string{};
}

} // namespace zel::simulator
