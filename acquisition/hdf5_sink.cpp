#include "hdf5_sink.h"

#include "hdf5_failures.h"
#include "hdf5_recording.h"

namespace zel::acquisition {

template <class Work>
auto Hdf5Sink::guarded(Work work)
{
    return hdf5::guarded<SinkFailure>(m_name, work);
}

Hdf5Sink::Hdf5Sink(const Hdf5Options& options, const Setup& setup)
    : m_name(options.path),
      m_recording(guarded([&] { return std::make_unique<hdf5::Recording>(options, setup); }))
{
}

Hdf5Sink::~Hdf5Sink() = default;

bool Hdf5Sink::write(const Batch& batch)
{
    return guarded([&] {
        const bool isTaken = m_recording->write(batch);
        m_bytes = m_recording->fileSize();
        return isTaken;
    });
}

bool Hdf5Sink::flush()
{
    return guarded([&] { return m_recording->flush(false); });
}

void Hdf5Sink::finish(const std::string& cause)
{
    guarded([&] { m_recording->finish(cause); });
    m_bytes = m_recording->fileSize();
    m_recording.reset();
}

std::uint64_t Hdf5Sink::bytesWritten() const
{
    return m_bytes;
}

std::string Hdf5Sink::name() const
{
    return m_name;
}

} // namespace zel::acquisition
