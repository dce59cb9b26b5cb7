#pragma once

#include "hdf5_library.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

namespace zel::acquisition::hdf5 {

/// A dataset that grows at its end. Its elements are collected into whole chunks, which the library
/// writes as they are: this way alone is a full disk told at once, and nothing lost by it.
class Series {
public:
    struct Shape {
        hid_t type = -1;
        std::size_t elementSize = 0;
        std::size_t chunk = 0;         ///< elements
        std::vector<std::byte> filler; ///< an element that stands where none was recorded
        unsigned deflate = 0;          ///< 0: not compressed
    };

    Series(const Handle& group, const std::string& name, Shape shape);

    const Handle& dataset() const { return m_dataset; }
    std::uint64_t size() const { return m_size; }

    /// As many elements, one behind the other. Memory is all that this needs: what could not be
    /// written waits.
    void append(std::span<const std::byte> elements);
    /// Elements that nobody has. A whole chunk of them takes no room in the file.
    void skip(std::uint64_t count);
    /// Writes all that waits, also the chunk that is not full yet: false where there is no room.
    /// After the last time that chunk is compressed as well.
    bool settle(bool isLast);

    /// By how much the file grows at most for so many further elements with so many gaps between
    /// them, in which so many are missing.
    std::uint64_t roomFor(std::uint64_t elements, std::uint64_t gaps, std::uint64_t missing) const;
    /// Whether as many further ones can be found again. The library counts the chunks in 32 bits.
    bool canHold(std::uint64_t further) const;

private:
    struct Waiting {
        std::uint64_t chunk;
        std::vector<std::byte> bytes;
    };

    std::size_t offset() const { return static_cast<std::size_t>(m_size % m_shape.chunk); }
    std::size_t chunkBytes() const { return m_shape.chunk * m_shape.elementSize; }
    void fill(std::size_t begin, std::size_t end);
    void take(std::span<const std::byte> elements);
    void complete(std::span<const std::byte> bytes);
    bool write(std::uint64_t chunk, std::span<const std::byte> bytes, bool isWhole);
    std::span<const std::byte> pack(std::span<const std::byte> bytes);
    void reopen();
    void extendTo(std::uint64_t size);

    Shape m_shape;
    Handle m_dataset;
    std::uint64_t m_size = 0;
    std::uint64_t m_extent = 0;
    std::vector<std::byte> m_current; // the chunk that is being filled, where it has an element
    bool m_hasCurrent = false;
    bool m_isDirty = false;  // it has elements that are not in the file
    bool m_isPlaced = false; // it has its place in the file
    std::deque<Waiting> m_waiting;
    std::vector<std::byte> m_shuffled;
    std::vector<std::byte> m_packed;
};

} // namespace zel::acquisition::hdf5
