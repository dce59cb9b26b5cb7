#include "api_trace.h"
#include "exception.h"
#include "host_facts.h"
#include "host_file.h"
#include "trace_names.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

class ApiTraces : public testing::Test {
protected:
    void SetUp() override
    {
        m_folder = std::filesystem::temp_directory_path() /
                   hostPath("zel_trace_" + std::to_string(processId()) + "_µ");
        std::filesystem::remove_all(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string content(const std::string& extension) const
    {
        std::string found;
        for (const auto& file : std::filesystem::directory_iterator(m_folder)) {
            if (file.path().extension() != extension)
                continue;
            EXPECT_TRUE(found.empty()) << "one file of each kind";
            EXPECT_EQ(withoutNumbers(file.path().stem().string()), "API_h_m_s_ms");
            std::ifstream in{file.path(), std::ios::binary};
            std::ostringstream text;
            text << in.rdbuf();
            found = text.str();
        }
        return found;
    }

    static std::string withoutNumbers(std::string text)
    {
        std::erase_if(text, [](char character) { return character >= '0' && character <= '9'; });
        return text;
    }

    /// Each line with "[T, A]" at its start, "[T, B]" for the second thread that comes.
    std::string sequence() const
    {
        std::istringstream lines{content(".seq")};
        std::vector<std::string> threads;
        std::string told;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t end = line.find(']');
            EXPECT_EQ(withoutNumbers(line.substr(0, end)), "[, thread ");
            const std::string thread = line.substr(line.find(','), end - line.find(','));
            const auto at = std::ranges::find(threads, thread) - threads.begin();
            if (at == std::ssize(threads))
                threads.push_back(thread);
            told += std::string{"[T, "} + static_cast<char>('A' + at) + line.substr(end) + '\n';
        }
        return told;
    }

    std::filesystem::path m_folder;
};

TEST_F(ApiTraces, WriteAScriptThatRepeatsTheCalls)
{
    {
        clApiTrace trace{m_folder};
        const auto gives = [](std::int32_t code) { return [code] { return code; }; };
        EXPECT_EQ((RecordedCall{"ZEL_Init", {}, trace})(gives(1)), 1);
        RecordedCall{"ZEL_XPAR_ReadPar",
                     {TracedUuid{0xAB}, 1U, "a]==]b", "\n]==", TracedBuffer{}, TracedBuffer{},
                      TracedBuffer{}},
                     trace}(gives(-1016035));
        RecordedCall{"ZEL_XUTIL_GetDaqHeader",
                     {true, false, std::numeric_limits<std::int64_t>::min(),
                      std::numeric_limits<std::uint64_t>::max(), TracedTimeStamp{0x1F},
                      static_cast<const char*>(nullptr), reinterpret_cast<const void*>(0xBEEF)},
                     trace}(gives(0));
        trace.recordWait(250);
        RecordedCall{"ZEL_XPAR_WriteDoublePar",
                     {0.1F, 0.1, 1e300, -std::numeric_limits<double>::infinity()},
                     trace}(gives(0));
        RecordedCall{"ZEL_XCOM_Disconnect", {TracedUuid{1}}, trace}(gives(0));
    }
    EXPECT_EQ(content(".lua"),
              "-- process id=" + std::to_string(processId()) +
                  "\nlocal corvanta = require('corvanta')\n"
                  "corvanta.trace(corvanta.core)\n"
                  "local core = corvanta.core\n"
                  "local msleep = core.sys.msleep\n"
                  "local buf = core.buffer(5000000)\n"
                  "local buf2 = core.buffer(5000000)\n"
                  "result = {core.init()}\n"
                  "-- result[1] = 1\n"
                  "result = {core.par.read_par(core.uuid('0xab'), 1, [===[a]==]b]===], [===[\n\n"
                  "]==]===], buf, buf2, core.buffer(5000000))}\n"
                  "-- result[1] = -1016035\n"
                  "err,header = core.util.get_daq_header(true, false, -9223372036854775808, "
                  "18446744073709551615, core.timestamp('0x1f'), nil, 0x000000000000BEEF)\n"
                  "-- result[1] = 0\n"
                  "msleep(250)\n"
                  "result = {core.par.write_double_par(0.100000001, 0.10000000000000001, "
                  "1.0000000000000001e+300, -math.huge)}\n"
                  "-- result[1] = 0\n");
}

TEST_F(ApiTraces, WriteASequenceOfCallsAndReturnsByThread)
{
    clApiTrace trace{m_folder};
    const auto nothing = [] { return 0; };
    RecordedCall{"ZEL_XPAR_ReadXML", {}, trace}([&] {
        std::thread{[&] { RecordedCall{"ZEL_XCOM_Disconnect", {}, trace}(nothing); }}.join();
        return RecordedCall{"ZEL_XPAR_ReadXMLSect", {}, trace}([] { return -5; });
    });
    EXPECT_THROW((RecordedCall{"ZEL_Init", {}, trace})([]() -> std::int32_t { throw 1; }), int);
    // What was begun is ended too, and only that.
    RecordedCall{"ZEL_XPAR_ReadXSD", {}, trace}([&] {
        trace.enable(false);
        return RecordedCall{"ZEL_Unload", {}, trace}([&] {
            trace.enable(true);
            return 0;
        });
    });
    EXPECT_EQ(sequence(), "[T, A]host ==> ZEL_XPAR_ReadXML\n"
                          "[T, B]host (!) ZEL_XCOM_Disconnect\n"
                          "[T, B]ZEL_XCOM_Disconnect <== host 0\n"
                          "[T, A]ZEL_XPAR_ReadXML --> ZEL_XPAR_ReadXMLSect\n"
                          "[T, A]ZEL_XPAR_ReadXMLSect <== ZEL_XPAR_ReadXML -5\n"
                          "[T, A]ZEL_XPAR_ReadXML <== host -5\n"
                          "[T, A]host ==> ZEL_Init\n"
                          "[T, A]ZEL_Init (X) host\n"
                          "[T, A]host ==> ZEL_XPAR_ReadXSD\n"
                          "[T, A]ZEL_XPAR_ReadXSD <== host 0\n");
}

TEST_F(ApiTraces, PutQualifiersBeforeTheFunctions)
{
    std::filesystem::create_directories(m_folder);
    clTraceSequence log{m_folder};
    log.writeCall("application", CallKind::fromHost, "ZEL_Init");
    log.writeReturn("library", ReturnKind::normal, "application", "started");
    EXPECT_EQ(sequence(), "[T, A]application:host ==> ZEL_Init\n"
                          "[T, A]library:ZEL_Init <== application:host started\n");
}

TEST_F(ApiTraces, SayWhichFileCannotBeOpened)
{
    std::ofstream{m_folder} << "a file where the folder should be";
    try {
        const clApiTrace trace{m_folder};
        FAIL();
    } catch (const exception& error) {
        EXPECT_NE(std::string{error.what()}.find("could not open trace file "), std::string::npos);
        EXPECT_NE(std::string{error.what()}.find("_µ/API_"), std::string::npos) << error.what();
    }
}

TEST(TraceNames, AreThoseThatScriptsUse)
{
    EXPECT_EQ(traceName("ZEL_XPAR_ReadXMLSect"), "core.par.read_xml_sect");
    EXPECT_EQ(traceName("ZEL_XPAR_GetLastErrMsg"), "core.par.get_last_err_msg_buf");
    EXPECT_EQ(traceName("ZEL_XSYS_GetBackgroundServiceResult"),
              "core.sys.get_backgrounf_service_result");
    EXPECT_EQ(traceName("ZEL_XUTIL_ComposePeakPath"), "core.util.compose_paek_path");
    EXPECT_EQ(traceName("ZEL_XDAQ_GetCanMeasVal"), "core.daq.get_can_measval");
    EXPECT_EQ(traceName("ZEL_XCTRL_SetI2SToCal"), "core.ctrl.set_i2s_to_cal");
    EXPECT_EQ(traceName("ZEL_XUTIL_SetWorkDir"), "core.util.set_work_dir");
    EXPECT_EQ(traceName("ZEL_XUTIL_ComposeSensor"), "");
    EXPECT_EQ(traceName(""), "");
    EXPECT_EQ(traceName("ZZZ"), "");
}

} // namespace
} // namespace zel
