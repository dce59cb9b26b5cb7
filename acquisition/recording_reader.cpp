#include "recording_reader.h"

namespace zel::acquisition {

namespace {

class Hdf5Recording final : public iRecordingReader {
public:
    explicit Hdf5Recording(const std::string& path) : m_reader(path) {}

    const Setup& setup() const override { return m_reader.setup(); }
    RecordingSummary summary() const override
    {
        return {m_reader.end(), m_reader.totals(), m_reader.gaps(), m_reader.clocks()};
    }
    SharedBatch next() override { return m_reader.next(); }
    std::string format() const override { return "HDF5"; }

private:
    Hdf5Reader m_reader;
};

} // namespace

std::unique_ptr<iRecordingReader> openRecording(const std::string& path)
{
    return std::make_unique<Hdf5Recording>(path);
}

} // namespace zel::acquisition
