// The tests, or one of the programs that they start:
//
//   --record FILE PROGRESS STEPS [DEFLATE]   makes a recording, and tells how far it is
//   --check FILE                             tells what is in it, or why it cannot be read
//   --repair FILE

#include "hdf5_reader.h"
#include "synthetic_recording.h"

#include <iostream>

#include <gtest/gtest.h>

#ifdef __SANITIZE_ADDRESS__
// HDF5 keeps the list of a thread's errors when the thread has ended.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libhdf5_serial\n";
}
#endif

namespace {

int check(const std::string& path)
{
    const auto contents = zel::test::Collected::ofFile(path);
    for (const auto& [signal, samples] : contents.samples)
        std::cout << "signal " << signal << ": " << samples.size() << " samples\n";
    return 0;
}

int run(const std::vector<std::string>& arguments)
{
    const std::string& what = arguments.at(0);
    if (what == "--record")
        return zel::test::record(arguments.at(1), arguments.at(2), std::stoull(arguments.at(3)),
                                 arguments.size() > 4 ? 6 : 0);
    if (what == "--check")
        return check(arguments.at(1));
    std::cout << (zel::acquisition::repairHdf5(arguments.at(1)) == zel::acquisition::Repair::closed
                      ? "closed\n"
                      : "was fine\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 2) {
        try {
            return run({argv + 1, argv + argc});
        } catch (const std::exception& failure) {
            std::cerr << failure.what() << '\n';
            return 1;
        }
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
