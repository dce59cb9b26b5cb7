// Subscribes to one signal, fetches its values for a second and prints them with their times.
//
//   stream_signal_cpp [ADDRESS[:PORT] [SIGNAL]]

#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

#include <ZEL_VR_Framework.hpp>

int main(int argc, char** argv)
try {
    zel::Module module(argc > 1 ? argv[1] : "192.168.169.20");
    zel::Subscription stream(module);
    stream.add(module.signal(argc > 2 ? argv[2] : "AnalogIn_Connector0.Signal0"));
    stream.start();
    zel::Block block;
    for (int fetch = 0; fetch < 10; ++fetch) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        stream.fetch(block);
        for (const zel::Record& record : block) {
            const auto times = record.times();
            const auto values = record.values<double>();
            for (std::size_t i = 0; i < values.size(); ++i)
                std::printf("%.9f  %g\n", static_cast<double>(times[i]) / 1e9, values[i]);
        }
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
