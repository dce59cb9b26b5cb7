#include "signal_stream.h"

#include "record_writer.h"
#include "widest_vectors.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zel::simulator {

namespace {

constexpr std::size_t kSamplesAtOnce = 512;

} // namespace

SignalStream::SignalStream(SignalDescription signal, std::uint16_t userSignalId,
                           std::uint64_t blockSize)
    : m_signal(std::move(signal)), m_userSignalId(userSignalId), m_blockSize(blockSize)
{
}

void SignalStream::look(const ModuleModel& model, bool reconfigured)
{
    m_fixed = fixedSensorValue(model, m_signal.place);
    if (reconfigured) {
        auto now = describeSignal(model, m_signal.place);
        m_signal.isEnabled = now && now->isEnabled;
        if (now && now->times.rate == m_signal.times.rate &&
            now->times.cycle == m_signal.times.cycle) {
            m_signal.sensor = now->sensor;
            m_signal.physical = now->physical;
        }
    }
    // Switched off since it was subscribed: it goes on without values.
    if (!m_signal.isEnabled)
        m_fixed = kNoValue;
}

std::uint64_t SignalStream::countUntil(std::uint64_t time) const
{
    const std::uint64_t taken = m_signal.times.countUntil(time);
    return taken > m_next ? taken - m_next : 0;
}

bool SignalStream::dropBefore(std::uint64_t time)
{
    const std::uint64_t first = time == 0 ? 0 : m_signal.times.countUntil(time - 1);
    if (first <= m_next)
        return false;
    m_next = first;
    return true;
}

std::size_t SignalStream::smallestRecord() const
{
    return kRecordHeaderSize + elementSize(m_signal.dataType);
}

std::size_t SignalStream::sizeOf(std::uint64_t count) const
{
    const std::uint64_t records = (count + m_blockSize - 1) / m_blockSize;
    return static_cast<std::size_t>(records * kRecordHeaderSize +
                                    count * elementSize(m_signal.dataType));
}

std::size_t SignalStream::writeRecord(std::uint64_t start, std::uint64_t count, MutableBytes out)
{
    if (out.size() < smallestRecord())
        return 0;
    const std::size_t size = elementSize(m_signal.dataType);
    const std::size_t fitting = (out.size() - kRecordHeaderSize) / size;
    const auto taken = static_cast<std::size_t>(
        std::min({count, m_blockSize, static_cast<std::uint64_t>(fitting)}));
    RecordHead head;
    head.kind = m_signal.recordKind;
    head.dataType = m_signal.dataType;
    head.userSignalId = m_userSignalId;
    head.count = static_cast<std::uint32_t>(taken);
    head.timeStamp = start + nextTime();
    head.millihertz = m_signal.times.rate * 1000;
    if (m_hasBegun)
        fill(m_next - 1, {&head.before, 1});
    writeRecordHead(head, out.first(kRecordHeaderSize));
    for (std::size_t done = 0; done < taken; done += kSamplesAtOnce)
        writeSamples(start, m_next + done, std::min(kSamplesAtOnce, taken - done),
                     out.subspan(kRecordHeaderSize + done * size));
    m_next += taken;
    m_hasBegun = true;
    return kRecordHeaderSize + taken * size;
}

void SignalStream::writeSamples(std::uint64_t start, std::uint64_t first, std::size_t count,
                                MutableBytes out) const
{
    std::array<double, kSamplesAtOnce> room;
    const std::span values{room.data(), count};
    fill(first, values);
    if (m_signal.times.isEven())
        return writeElements(m_signal.dataType, values, out);
    std::array<std::uint64_t, kSamplesAtOnce> times;
    for (std::size_t i = 0; i < count; ++i)
        times[i] = start + m_signal.times.at(first + i);
    writeElements(m_signal.dataType, values, {times.data(), count}, out);
}

void SignalStream::fill(std::uint64_t first, std::span<double> values) const
{
    if (m_fixed) {
        const bool isNone = *m_fixed == kNoValue;
        std::ranges::fill(values, isNone ? kNoValue : m_signal.physical(*m_fixed));
        return;
    }
    m_signal.sensor.fill(first, values);
    inWidestVectors([values, physical = m_signal.physical]() ZEL_IN_VECTORS {
        for (double& value : values)
            value = physical(value);
    });
}

} // namespace zel::simulator
