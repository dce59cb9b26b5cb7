#pragma once

#include "sink.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zel::test {

/// What a sink was given, kept for looking at.
struct Collected {
    struct Sample {
        std::uint64_t time = 0;
        double value = 0;
    };
    struct Signal {
        std::map<std::uint64_t, Sample> samples; ///< by index
        std::vector<acquisition::Gap> gaps;
        std::uint64_t next = 0;      ///< index behind what came last
        std::uint64_t misplaced = 0; ///< chunks and gaps that did not go on where the last ended
    };

    std::mutex mutex;
    // under mutex
    std::map<std::size_t, Signal> signals;
    std::string cause;
    bool isFinished = false;
};

/// Keeps what comes; `hold` makes it slow, `hasRoom` its disk.
class CollectingSink : public acquisition::iSink {
public:
    CollectingSink(const acquisition::Setup& setup, Collected& collected)
        : m_setup(setup), m_collected(collected)
    {
    }

    bool write(const acquisition::Batch& batch) override
    {
        const std::lock_guard lock{m_collected.mutex};
        struct Piece {
            std::uint64_t index;
            const acquisition::Chunk* chunk;
            const acquisition::Gap* gap;
        };
        std::map<std::size_t, std::vector<Piece>> pieces;
        for (const auto& chunk : batch.chunks)
            pieces[chunk.signal].push_back({chunk.index, &chunk, nullptr});
        for (const auto& gap : batch.gaps)
            pieces[gap.signal].push_back({gap.index, nullptr, &gap});
        for (auto& [number, list] : pieces) {
            std::ranges::stable_sort(list, {}, &Piece::index);
            Collected::Signal& signal = m_collected.signals[number];
            for (const Piece& piece : list)
                take(batch, signal, piece.chunk, piece.gap);
        }
        return true;
    }
    bool flush() override { return true; }
    void finish(const std::string& cause) override
    {
        const std::lock_guard lock{m_collected.mutex};
        m_collected.cause = cause;
        m_collected.isFinished = true;
    }
    std::uint64_t bytesWritten() const override { return 0; }
    std::string name() const override { return "memory"; }

private:
    void take(const acquisition::Batch& batch, Collected::Signal& signal,
              const acquisition::Chunk* chunk, const acquisition::Gap* gap) const
    {
        const std::uint64_t index = chunk ? chunk->index : gap->index;
        const bool isFirst = signal.samples.empty() && signal.gaps.empty();
        signal.misplaced += !isFirst && index != signal.next ? 1 : 0;
        signal.next = index + (chunk ? chunk->count : gap->count);
        if (gap) {
            signal.gaps.push_back(*gap);
            return;
        }
        const bool isShort = acquisition::sizeOf(m_setup.signals[chunk->signal].type) == 4;
        for (std::size_t i = 0; i < chunk->count; ++i)
            signal.samples[chunk->index + i] = {
                batch.timeOf(*chunk, i), isShort
                                             ? static_cast<double>(batch.valuesOf<float>(*chunk)[i])
                                             : batch.valuesOf<double>(*chunk)[i]};
    }

    const acquisition::Setup& m_setup;
    Collected& m_collected;
};

} // namespace zel::test
