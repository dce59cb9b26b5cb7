#pragma once

#include "batch.h"
#include "setup.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace zel::test {

constexpr std::uint64_t kStart = 1'700'000'000'238'743'689;
constexpr std::uint64_t kMillisecond = 1'000'000;

/// A setup that a test makes up: so many modules, and signals without a rate have times of their
/// own.
struct MadeUp : acquisition::Setup {
    explicit MadeUp(std::vector<std::string> labels = {"A"})
    {
        for (const std::string& label : labels)
            modules.push_back({label, "10.0.0.1:55000", 0x1234AB0001, "Name", ""});
    }
    std::size_t add(const std::string& reference, double hertz,
                    acquisition::ValueType type = acquisition::ValueType::float32,
                    std::size_t module = 0)
    {
        acquisition::SignalInfo signal;
        signal.module = module;
        signal.reference = reference;
        signal.type = type;
        signal.isEven = hertz > 0;
        signal.rate = static_cast<std::uint64_t>(hertz * 1000);
        signals.push_back(signal);
        return signals.size() - 1;
    }
};

struct MadeUpBatch : acquisition::Batch {
    explicit MadeUpBatch(std::uint64_t received = 1, std::size_t from = 0)
    {
        module = from;
        receivedAt = received;
    }
    template <class T>
    MadeUpBatch& even(std::size_t signal, std::uint64_t index, const std::vector<T>& values,
                      const acquisition::TimeLine& line)
    {
        chunks.push_back({signal, index, values.size(), line, put(values), 0});
        return *this;
    }
    /// Each sample its own number.
    MadeUpBatch& counted(std::size_t signal, std::uint64_t index, std::size_t count,
                         std::uint64_t hertz, std::uint64_t start = kStart)
    {
        std::vector<float> values;
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(static_cast<float>(index + i));
        return even(signal, index, values, {0, start, hertz * 1000});
    }
    template <class T>
    MadeUpBatch& timed(std::size_t signal, std::uint64_t index, const std::vector<T>& values,
                       const std::vector<std::uint64_t>& times)
    {
        chunks.push_back({signal, index, values.size(), {}, put(values), put(times)});
        return *this;
    }
    MadeUpBatch& gap(const acquisition::Gap& gap)
    {
        gaps.push_back(gap);
        return *this;
    }

private:
    template <class T>
    std::size_t put(const std::vector<T>& values)
    {
        const std::size_t place = (bytes.size() + 7) / 8 * 8;
        bytes.resize(place + values.size() * sizeof(T));
        std::memcpy(bytes.data() + place, values.data(), values.size() * sizeof(T));
        return place;
    }
};

/// A folder that goes away with the test.
class TemporaryFolder {
public:
    TemporaryFolder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("zel-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))))
    {
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::u8string& name) const
    {
        const std::u8string path = (m_path / name).u8string();
        return {path.begin(), path.end()};
    }

private:
    std::filesystem::path m_path;
};

inline std::string contentOf(const std::string& name)
{
    std::ifstream file(std::filesystem::path(std::u8string(name.begin(), name.end())),
                       std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace zel::test
