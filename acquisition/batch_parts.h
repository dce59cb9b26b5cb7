#pragma once

#include "batch.h"

#include <vector>

namespace zel::acquisition {

/// A chunk or a gap of a batch; the other is null.
struct BatchPart {
    std::size_t signal = 0;
    std::uint64_t index = 0;
    const Chunk* chunk = nullptr;
    const Gap* gap = nullptr;
};

/// All of the batch, signal by signal in the order of their indices. They point into it.
std::vector<BatchPart> partsOf(const Batch& batch);

} // namespace zel::acquisition
