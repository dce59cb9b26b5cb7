// Measured values at full rate, through the library, compared with what the module generates.
// ZEL_STREAM_SECONDS says for how long; 1 without it.

#include "library_with_module.h"
#include "signal_description.h"

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace zel::test {
namespace {

using simulator::Module;
using simulator::ModuleModel;
using simulator::ModuleSettings;
using simulator::SignalDescription;

constexpr const char* kReference = "AnalogIn_Connector0.Signal0";
constexpr const char* kPath = "Amplifier/Connector[@address=\"1\"]/Mode/AnalogInChannel/"
                              "SyncSignal[@address=\"1\"]/";
constexpr std::uint64_t kBlockSize = 1 << 20;

std::uint64_t seconds()
{
    const char* const wanted = std::getenv("ZEL_STREAM_SECONDS");
    return wanted ? std::strtoull(wanted, nullptr, 10) : 1;
}

/// A module that measures one signal at 1 MS/s, and what has come of it.
class Stream {
public:
    Stream(Module& module, std::uint64_t uuid) : m_uuid(uuid), m_block(kBlockSize)
    {
        EXPECT_TRUE(module.parameters().set(std::string{kPath} + "SampleRate", "1000000"));
        EXPECT_TRUE(module.parameters().set(std::string{kPath} + "Waveform", "Noise"));
        m_signal = module.inspect([](ModuleModel& model) {
            return *describeSignal(model, *simulator::parseSignal(kReference));
        });
        EXPECT_EQ(ZEL_XDAQ_OpenSubscription(uuid), ZEL_OK);
        EXPECT_EQ(ZEL_XDAQ_AddSignal(uuid, kReference, 7, 100000), ZEL_OK);
        EXPECT_EQ(ZEL_XDAQ_FinishSubscription(uuid, 0), ZEL_OK);
    }

    void fetch()
    {
        ASSERT_EQ(ZEL_XDAQ_GetMeasValBlock(m_uuid, m_block.data(), &m_size, m_block.size()),
                  ZEL_OK);
        check();
    }
    std::uint32_t start()
    {
        std::uint32_t handle = 0;
        EXPECT_EQ(ZEL_XDAQ_Async_GetMeasValBlock(m_uuid, m_block.data(), &m_size, m_block.size(),
                                                 &handle),
                  ZEL_OK);
        return handle;
    }
    void collect(std::uint32_t handle)
    {
        ASSERT_EQ(ZEL_XCOM_Async_ReadData(handle), ZEL_OK);
        check();
    }
    void end() { EXPECT_EQ(ZEL_XDAQ_ClearSubscription(m_uuid), ZEL_OK); }

    std::uint64_t samples() const { return m_samples; }

private:
    /// Every record follows the one before, and every value is the one that was generated.
    void check()
    {
        ZEL_DaqHeader header;
        std::uint64_t offset = 0;
        for (std::uint32_t i = 0; ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, i, m_block.data(),
                                                         m_size, &header, &offset) == ZEL_OK;
             ++i) {
            ASSERT_EQ(header.signalId, 7);
            ASSERT_EQ(header.dataType, 36);
            ASSERT_EQ(header.extra.u64, 1'000'000'000u);
            if (m_samples == 0)
                m_began = header.timeStamp;
            ASSERT_EQ(header.timeStamp, m_began + m_samples * 1000);
            m_values.resize(header.count);
            m_expected.resize(header.count);
            ZEL_XUTIL_GetDaqData(offset, m_block.data(), &header, m_values.data(),
                                 m_values.size() * sizeof(float));
            m_signal->sensor.fill(m_samples, m_expected);
            for (std::size_t at = 0; at < m_values.size(); ++at)
                ASSERT_EQ(m_values[at], static_cast<float>(m_signal->physical(m_expected[at])))
                    << "sample " << m_samples + at;
            m_samples += header.count;
        }
    }

    const std::uint64_t m_uuid;
    std::optional<SignalDescription> m_signal;
    std::vector<char> m_block;
    std::uint64_t m_size = 0;
    std::vector<float> m_values;
    std::vector<double> m_expected;
    std::uint64_t m_began = 0;
    std::uint64_t m_samples = 0;
};

class Streaming : public LibraryWithModule {
protected:
    static ModuleSettings patient()
    {
        ModuleSettings settings;
        settings.bufferTime = Milliseconds{60000}; // sanitizers make all of it slow
        return settings;
    }
};

TEST_F(Streaming, EverySampleComesAsItWasGenerated)
{
    Module& module = addModule(patient());
    Stream stream{module, connected(module)};
    while (stream.samples() < seconds() * 1'000'000 && !HasFailure()) {
        stream.fetch();
        std::this_thread::sleep_for(10ms);
    }
    stream.end();
}

TEST_F(Streaming, EverySampleComesAsynchronouslyToo)
{
    Module& module = addModule(patient());
    Stream stream{module, connected(module)};
    while (stream.samples() < seconds() * 1'000'000 && !HasFailure()) {
        const std::uint32_t handle = stream.start();
        std::this_thread::sleep_for(10ms);
        stream.collect(handle);
    }
    stream.end();
}

TEST_F(Streaming, SixteenModulesAtOnceLoseNothing)
{
    std::vector<std::unique_ptr<Stream>> streams;
    for (int i = 0; i < 16; ++i) {
        Module& module = addModule(patient());
        streams.push_back(std::make_unique<Stream>(module, connected(module)));
    }
    for (bool isComplete = false; !isComplete && !HasFailure();) {
        isComplete = true;
        for (const auto& stream : streams) {
            stream->fetch();
            isComplete = isComplete && stream->samples() >= seconds() * 1'000'000;
        }
    }
    for (const auto& stream : streams)
        stream->end();
}

} // namespace
} // namespace zel::test
