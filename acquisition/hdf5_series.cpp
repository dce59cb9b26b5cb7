#include "hdf5_series.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <zlib.h>

namespace zel::acquisition::hdf5 {

namespace {

// Which filters a chunk has not been through: the first two, shuffle and deflate.
constexpr std::uint32_t kNotPacked = 3;

Handle creationOf(const Series::Shape& shape)
{
    Handle list{"make a dataset", H5Pclose, [] { return H5Pcreate(H5P_DATASET_CREATE); }};
    const hsize_t chunk = shape.chunk;
    call("make a dataset", [&] {
        herr_t result = std::min({H5Pset_chunk(list.id(), 1, &chunk),
                                  H5Pset_attr_phase_change(list.id(), 65535, 0)});
        if (!shape.filler.empty())
            result = std::min(result, H5Pset_fill_value(list.id(), shape.type, shape.filler.data()));
        if (shape.deflate != 0)
            result = std::min({result, H5Pset_shuffle(list.id()),
                               H5Pset_deflate(list.id(), shape.deflate)});
        return result;
    });
    return list;
}

Handle create(const Handle& group, const std::string& name, const Series::Shape& shape)
{
    const hsize_t none = 0;
    const hsize_t most = H5S_UNLIMITED;
    const Handle space{"make a dataset", H5Sclose,
                       [&] { return H5Screate_simple(1, &none, &most); }};
    const Handle creation = creationOf(shape);
    return {"make a dataset", H5Dclose, [&] {
                return H5Dcreate2(group.id(), name.c_str(), shape.type, space.id(), H5P_DEFAULT,
                                  creation.id(), H5P_DEFAULT);
            }};
}

/// The first bytes of all elements, then the second ones, and so on.
void shuffle(std::span<const std::byte> from, std::span<std::byte> into, std::size_t size)
{
    const std::size_t count = from.size() / size;
    for (std::size_t byte = 0; byte < size; ++byte) {
        for (std::size_t i = 0; i < count; ++i)
            into[byte * count + i] = from[i * size + byte];
    }
}

} // namespace

Series::Series(const Handle& group, const std::string& name, Shape shape)
    : m_shape(std::move(shape)), m_dataset(create(group, name, m_shape))
{
}

void Series::append(std::span<const std::byte> elements)
{
    while (!elements.empty()) {
        // A whole chunk that lies there already needs no copy.
        const bool isWhole = offset() == 0 && elements.size() >= chunkBytes();
        const auto part = elements.first(
            isWhole ? chunkBytes()
                    : std::min(elements.size(), chunkBytes() - offset() * m_shape.elementSize));
        if (isWhole) {
            m_size += m_shape.chunk;
            complete(part);
        } else {
            take(part);
        }
        elements = elements.subspan(part.size());
    }
}

void Series::take(std::span<const std::byte> elements)
{
    if (!m_hasCurrent) {
        m_current.resize(chunkBytes());
        fill(0, offset());
        m_hasCurrent = true;
        m_isPlaced = false;
    }
    std::memcpy(m_current.data() + offset() * m_shape.elementSize, elements.data(), elements.size());
    m_size += elements.size() / m_shape.elementSize;
    m_isDirty = true;
    if (offset() == 0)
        complete(m_current);
}

void Series::skip(std::uint64_t count)
{
    if (m_hasCurrent) {
        const auto part = std::min<std::uint64_t>(count, m_shape.chunk - offset());
        fill(offset(), offset() + static_cast<std::size_t>(part));
        m_size += part;
        m_isDirty = true;
        count -= part;
        if (part != 0 && offset() == 0)
            complete(m_current);
    }
    m_size += count;
}

void Series::fill(std::size_t begin, std::size_t end)
{
    const std::size_t size = m_shape.elementSize;
    if (m_shape.filler.empty()) {
        std::fill(m_current.data() + begin * size, m_current.data() + end * size, std::byte{0});
        return;
    }
    for (std::size_t i = begin; i < end; ++i)
        std::memcpy(m_current.data() + i * size, m_shape.filler.data(), size);
}

/// The chunk before the one that begins now.
void Series::complete(std::span<const std::byte> bytes)
{
    const std::uint64_t chunk = m_size / m_shape.chunk - 1;
    if (!m_waiting.empty() || !write(chunk, bytes, true))
        m_waiting.push_back({chunk, {bytes.begin(), bytes.end()}});
    m_hasCurrent = false;
    m_isDirty = false;
    m_isPlaced = false;
}

bool Series::settle(bool isLast)
{
    for (; !m_waiting.empty(); m_waiting.pop_front()) {
        if (!write(m_waiting.front().chunk, m_waiting.front().bytes, true))
            return false;
    }
    if (m_hasCurrent && m_isDirty) {
        fill(offset(), m_shape.chunk);
        if (!write(m_size / m_shape.chunk, m_current, isLast))
            return false;
        m_isPlaced = true;
        m_isDirty = false;
    }
    extendTo(m_size);
    return true;
}

bool Series::write(std::uint64_t chunk, std::span<const std::byte> bytes, bool isWhole)
{
    const std::uint64_t begin = chunk * m_shape.chunk;
    // Once it has been written as it was, it stays like that: at another size it would move, and
    // leave its place unused for as long as the file is being recorded.
    const bool isPlaced = m_isPlaced && chunk == (m_size - 1) / m_shape.chunk;
    const auto packed = m_shape.deflate != 0 && isWhole && !isPlaced ? pack(bytes) : bytes;
    const bool isPacked = packed.size() < bytes.size();
    const auto& sent = isPacked ? packed : bytes;
    const std::uint32_t filters = m_shape.deflate != 0 && !isPacked ? kNotPacked : 0;
    const hsize_t offset = begin;
    try {
        // Readers see what is before the end. A chunk that continues there is written before the
        // end moves on; one that begins behind it can only be written afterwards.
        if (begin >= m_extent)
            extendTo(std::min(m_size, begin + m_shape.chunk));
        call("write a chunk", [&] {
            return H5Dwrite_chunk(m_dataset.id(), H5P_DEFAULT, filters, &offset, sent.size(),
                                  sent.data());
        });
    } catch (const Failure& failure) {
        if (!failure.isNoRoom())
            throw;
        reopen();
        return false;
    }
    return true;
}

/// The library remembers the place of a chunk that could not be written. At the next attempt it would
/// write there, and never tell in the file that the chunk is there.
void Series::reopen()
{
    const std::string path = pathOf(m_dataset);
    const Handle file{"open a dataset", H5Fclose,
                      [&] { return H5Iget_file_id(m_dataset.id()); }};
    m_dataset.drop();
    m_dataset = openDataset(file, path);
}

std::span<const std::byte> Series::pack(std::span<const std::byte> bytes)
{
    m_shuffled.resize(bytes.size());
    m_packed.resize(bytes.size());
    shuffle(bytes, m_shuffled, m_shape.elementSize);
    auto size = static_cast<uLongf>(m_packed.size());
    if (compress2(reinterpret_cast<Bytef*>(m_packed.data()), &size,
                  reinterpret_cast<const Bytef*>(m_shuffled.data()),
                  static_cast<uLong>(m_shuffled.size()), static_cast<int>(m_shape.deflate)) != Z_OK)
        return bytes; // it would have become larger
    return std::span(m_packed).first(size);
}

void Series::extendTo(std::uint64_t size)
{
    if (size <= m_extent)
        return;
    const hsize_t extent = size;
    call("extend a dataset", [&] { return H5Dset_extent(m_dataset.id(), &extent); });
    m_extent = size;
}

std::uint64_t Series::roomFor(std::uint64_t elements, std::uint64_t gaps, std::uint64_t missing) const
{
    const std::uint64_t touched =
        (offset() + elements + m_shape.chunk - 1) / m_shape.chunk + gaps - (m_hasCurrent ? 1U : 0U);
    if (touched == 0)
        return 0;
    // The index has blocks of some 4 * sqrt(chunks) entries, each of which is made as a whole.
    const double chunks = static_cast<double>(m_size + elements + missing) / static_cast<double>(m_shape.chunk);
    const double entry = m_shape.deflate != 0 ? 24 : 10;
    return touched * chunkBytes() + 1024 + static_cast<std::uint64_t>(8 * entry * std::sqrt(chunks + 16));
}

bool Series::canHold(std::uint64_t further) const
{
    const std::uint64_t most = std::numeric_limits<std::uint32_t>::max() * std::uint64_t{m_shape.chunk};
    return m_size <= most && further <= most - m_size;
}

} // namespace zel::acquisition::hdf5
