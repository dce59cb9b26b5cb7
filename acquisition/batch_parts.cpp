#include "batch_parts.h"

#include <algorithm>

namespace zel::acquisition {

std::vector<BatchPart> partsOf(const Batch& batch)
{
    std::vector<BatchPart> parts;
    parts.reserve(batch.gaps.size() + batch.chunks.size());
    // Where they have the same index the gap comes first: it has no samples.
    for (const Gap& gap : batch.gaps)
        parts.push_back({gap.signal, gap.index, nullptr, &gap});
    for (const Chunk& chunk : batch.chunks)
        parts.push_back({chunk.signal, chunk.index, &chunk, nullptr});
    std::ranges::stable_sort(parts, [](const BatchPart& a, const BatchPart& b) {
        return a.signal != b.signal ? a.signal < b.signal : a.index < b.index;
    });
    return parts;
}

} // namespace zel::acquisition
