#include "synthetic_recording.h"

#include "hdf5_reader.h"

#include <array>
#include <bit>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>
#include <thread>

namespace zel::test {

using namespace acquisition;

namespace {

constexpr std::uint64_t kBegin = 1'700'000'000'000'000'000;
constexpr std::array kTypes{ValueType::int32, ValueType::uint32, ValueType::float32,
                            ValueType::int64, ValueType::uint64, ValueType::float64};
constexpr std::array kCauses{Cause::timeStep, Cause::overrun, Cause::cut,
                             Cause::outage,   Cause::restart, Cause::changed,
                             Cause::queue,    Cause::noSpace, Cause::clockSet};
// Signals 0 to 5: evenly sampled; 6 and 7: each sample with its time; 8: of the second module.
constexpr std::size_t kEven = 6;
constexpr std::size_t kSecond = 8;

std::uint64_t rateOf(std::size_t signal)
{
    return signal == kSecond ? 48'000'000 : 1'200'000 + 333 * signal;
}

/// The value of a sample follows from its index.
std::uint64_t bitsOf(ValueType type, std::uint64_t index)
{
    switch (type) {
    case ValueType::float32:
        return std::bit_cast<std::uint32_t>(static_cast<float>(index) / 3);
    case ValueType::float64:
        return std::bit_cast<std::uint64_t>(static_cast<double>(index) / 7);
    default:
        return index * 2654435761U & (sizeOf(type) == 4 ? 0xffffffffU : ~std::uint64_t{0});
    }
}

std::size_t makeRoom(Batch& batch, std::size_t bytes)
{
    const std::size_t begin = (batch.bytes.size() + 7) / 8 * 8;
    batch.bytes.resize(begin + bytes);
    return begin;
}

} // namespace

Setup SyntheticRecording::setup()
{
    Setup setup;
    setup.begin = kBegin;
    setup.modules = {
        {"left/wing", "192.168.169.20:55000", 0xfedcba9876543210, "Left", "<a>\u00e4</a>"},
        {"right", "192.168.169.21:55000", 7, "", ""}};
    for (std::size_t i = 0; i <= kSecond; ++i) {
        SignalInfo signal;
        signal.module = i == kSecond ? 1 : 0;
        signal.reference = "AnalogIn_Connector0.Signal" + std::to_string(i);
        signal.name = "Strain " + std::to_string(i);
        signal.column = i == 1 ? "a/b" : i == 2 ? "a_b" : "signal" + std::to_string(i);
        signal.unit = "\u00b5m/m";
        signal.path = "Amplifier/Connector" + std::to_string(i);
        signal.type = i < kEven      ? kTypes.at(i)
                      : i == kSecond ? ValueType::float32
                                     : kTypes.at(i - 3);
        signal.isEven = i < kEven || i == kSecond;
        signal.rate = signal.isEven ? rateOf(i) : 0;
        signal.calibration = {{"Scale/Factor", "2.5"}, {"Scale/Offset", ""}};
        setup.signals.push_back(signal);
    }
    return setup;
}

const Setup kSetup = SyntheticRecording::setup();

Batch SyntheticRecording::next()
{
    const std::uint64_t step = m_step++;
    Batch batch;
    batch.module = step % 2;
    batch.receivedAt = kBegin + step * 50'000'000;
    if (step % 7 == 0)
        batch.clock =
            ClockEstimate{batch.module, kBegin + step * 50'000'000,
                          -static_cast<std::int64_t>(step), 1e-6 * static_cast<double>(step), step};
    if (batch.module == 1) {
        addChunk(batch, kSecond, 4800);
        if (step % 50 == 49) // several whole chunks of nothing
            addGap(batch, kSecond, Cause::outage, 1'000'000);
        return batch;
    }
    const std::size_t faulty = step / 2 % kSecond;
    for (std::size_t signal = 0; signal < kSecond; ++signal) {
        if (signal == faulty) { // in front of all samples, once around
            const Cause cause = kCauses.at(step / 2 % kCauses.size());
            const bool isCounted = cause != Cause::clockSet && signal < kEven;
            addGap(batch, signal, cause, isCounted ? 1 + step * 37 % 3000 : 0);
        }
        addChunk(batch, signal, 120);
    }
    return batch;
}

void SyntheticRecording::addGap(Batch& batch, std::size_t signal, Cause cause, std::uint64_t count)
{
    Track& track = m_tracks[signal];
    const std::uint64_t step = count * 1'000'000'000'000 / rateOf(signal);
    batch.gaps.push_back({signal, track.index, count, track.time, track.time + step, cause});
    track.index += count;
    track.time += step;
    if (cause != Cause::outage) // the samples behind it have another line
        track.line = {};
}

void SyntheticRecording::addChunk(Batch& batch, std::size_t signal, std::size_t count)
{
    Track& track = m_tracks[signal];
    const bool isEven = signal < kEven || signal == kSecond;
    if (track.time == 0)
        track.time = kBegin + signal * 1000;
    if (isEven && track.line.rate == 0)
        track.line = {track.index, track.time + 17, rateOf(signal) + track.index % 5};
    const ValueType type = kSetup.signals[signal].type;
    Chunk chunk;
    chunk.signal = signal;
    chunk.index = track.index;
    chunk.count = count;
    if (isEven)
        chunk.line = track.line;
    else
        chunk.times = makeRoom(batch, count * 8);
    chunk.values = makeRoom(batch, count * sizeOf(type));
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t bits = bitsOf(type, track.index + i);
        std::memcpy(&batch.bytes[chunk.values + i * sizeOf(type)], &bits, sizeOf(type));
        const std::uint64_t time = track.time + i * 100'000 + i % 3;
        if (!isEven)
            std::memcpy(&batch.bytes[chunk.times + i * 8], &time, 8);
    }
    batch.chunks.push_back(chunk);
    track.index += count;
    track.time = isEven ? track.line.at(track.index) : track.time + count * 100'000;
}

void Collected::add(const Batch& batch)
{
    for (const Chunk& chunk : batch.chunks) {
        const std::size_t size = sizeOf(kSetup.signals.at(chunk.signal).type);
        for (std::size_t i = 0; i < chunk.count; ++i) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &batch.bytes.at(chunk.values + i * size), size);
            samples[chunk.signal].emplace_back(chunk.index + i, batch.timeOf(chunk, i), bits);
        }
    }
    for (const Gap& gap : batch.gaps)
        gaps[gap.signal].emplace_back(gap.index, gap.count, gap.begin, gap.end,
                                      static_cast<int>(gap.cause));
    if (batch.clock)
        clocks[batch.module].emplace_back(batch.clock->moduleTime, batch.clock->offset,
                                          batch.clock->drift, batch.clock->uncertainty);
}

bool Collected::isSame(const Collected& other, std::size_t module) const
{
    const auto part = [](const auto& all, std::size_t signal) {
        const auto found = all.find(signal);
        return found != all.end() ? found->second
                                  : typename std::decay_t<decltype(all)>::mapped_type{};
    };
    for (std::size_t i = 0; i < kSetup.signals.size(); ++i) {
        if (kSetup.signals[i].module == module &&
            (part(samples, i) != part(other.samples, i) || part(gaps, i) != part(other.gaps, i)))
            return false;
    }
    return true;
}

Collected Collected::ofSteps(std::uint64_t steps)
{
    Collected collected;
    SyntheticRecording recording;
    for (std::uint64_t i = 0; i < steps; ++i)
        collected.add(recording.next());
    return collected;
}

Collected Collected::ofFile(const std::string& path)
{
    Collected collected;
    Hdf5Reader reader(path);
    while (const SharedBatch batch = reader.next())
        collected.add(*batch);
    return collected;
}

int record(const std::string& path, const std::string& progress, std::uint64_t steps,
           unsigned deflate)
{
    Hdf5Sink sink({.path = path, .mayReplace = true, .deflate = deflate},
                  SyntheticRecording::setup());
    SyntheticRecording recording;
    for (std::uint64_t step = 0; step < steps; ++step) {
        if (!sink.write(recording.next()))
            return 1;
        if ((step + 1) % kStepsPerFlush != 0)
            continue;
        if (!sink.flush())
            return 1;
        std::ofstream(progress, std::ios::app) << step + 1 << std::endl;
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    sink.finish("");
    return 0;
}

} // namespace zel::test
