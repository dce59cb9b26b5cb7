// Transactions with a simulated module: sizes, time-outs, faults, the retry and what it leaves.

#include "library_with_module.h"
#include "module_fault.h"

#include <thread>
#include <vector>

namespace zel::test {
namespace {

using simulator::Fault;
using simulator::FaultKind;
using simulator::MethodAnswer;
using simulator::MethodCall;

class Transactions : public LibraryWithModule {
protected:
    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
    }

    static std::string lastMessage(std::uint64_t uuid)
    {
        const char* text = nullptr;
        std::uint64_t length = 0;
        EXPECT_EQ(ZEL_XPAR_GetLastErrMsgByUuid(uuid, &text, &length), ZEL_OK);
        return {text, static_cast<std::size_t>(length)};
    }
    static std::string lastMessage()
    {
        const char* text = nullptr;
        std::uint64_t length = 0;
        EXPECT_EQ(ZEL_XPAR_GetLastErrMsg(&text, &length), ZEL_OK);
        return {text, static_cast<std::size_t>(length)};
    }

    std::uint64_t m_uuid = 0;
};

TEST_F(Transactions, BringRequestsAndResponsesOfEverySizeWhole)
{
    // The method header has 4 bytes, the response header 8; beside them stands the data.
    for (const std::size_t size : {0u, 1u, 65515u, 65516u, 65519u, 65532u, 61440u * 2 - 4,
                                   61440u * 2 - 3, 61440u * 2 - 8, 61440u * 2 - 7, 3000001u}) {
        std::string data(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>(i * 31 / 7);
        m_module.clearReceived();
        std::string response;
        EXPECT_EQ(echo(m_uuid, data, &response), ZEL_OK) << size;
        EXPECT_TRUE(response == data) << size;
        const auto calls = m_module.received();
        ASSERT_EQ(calls.size(), 1U) << size;
        EXPECT_TRUE(calls[0].data == data) << size;
        EXPECT_EQ(calls[0].segmented, size + 4 > 65535) << size;
    }
    EXPECT_EQ(m_module.statistics().badTelegrams, 0U);
}

TEST_F(Transactions, EndEachFaultWithItsCodeInItsTime)
{
    const struct Case {
        Fault fault;
        std::int32_t result;
        Milliseconds atLeast;
        std::size_t size = 4;
    } cases[] = {
        {fault(FaultKind::silence), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::wrongSource), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::wrongLabel), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::wrongDestination), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::cutTransaction), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::delay, 3400ms), ZEL_TRANS_TIMEOUT_ACKNOWLEDGE, 3000ms},
        {fault(FaultKind::delay, 2000ms), ZEL_OK, 2000ms},
        {fault(FaultKind::stopReading), ZEL_TRANS_TIMEOUT_SEND, 3000ms, 70000},
        {fault(FaultKind::pendingOnly, 700ms), ZEL_TRANS_TIMEOUT_RESPONSE, 1400ms},
        {fault(FaultKind::pendingOnly, 700ms, 1), ZEL_OK, 700ms},
        {fault(FaultKind::wrongTransactionType), ZEL_TRANS_WRONG_TYPE, 0ms},
        {fault(FaultKind::pendingTwice), ZEL_TRANS_WRONG_TYPE, 0ms},
        {fault(FaultKind::segmentsUnannounced), ZEL_TRANS_WRONG_TYPE, 0ms},
        {fault(FaultKind::wrongPendingLength), ZEL_TRANS_INVALID_FORMAT, 0ms},
        {fault(FaultKind::wrongSegmentLength), ZEL_TRANS_INVALID_FORMAT, 0ms},
        {fault(FaultKind::wrongService), ZEL_SRV_RESPONSE_MISMATCH, 0ms},
        {fault(FaultKind::wrongMethod), ZEL_SRV_RESPONSE_MISMATCH, 0ms},
        {fault(FaultKind::cutAnswer), ZEL_SRV_RESPONSE_MISMATCH, 0ms},
        {fault(FaultKind::wrongStart), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::wrongHeaderLength), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::wrongTelegramType), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::wrongTrailer), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::disconnectMidTelegram), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::disconnectMidTelegram), ZEL_CONN_RECEIVE_FAILED, 0ms, 200000},
        {fault(FaultKind::reset), ZEL_CONN_RECEIVE_FAILED, 0ms},
        {fault(FaultKind::byteByByte, 1ms), ZEL_OK, 0ms},
        {fault(FaultKind::oversizedSegment, 300ms), ZEL_OK, 300ms},
        {fault(FaultKind::shortSegments, 0ms, 0, 7), ZEL_OK, 0ms, 900},
    };
    const auto run = [](simulator::Module& module, const Case& c) {
        std::uint64_t uuid = 0;
        ASSERT_EQ(connectTo(module, uuid), ZEL_OK);
        module.setFault(c.fault);
        const std::string data(c.size, 'd');
        std::string response;
        const Stopwatch watch;
        const std::int32_t result = echo(uuid, data, &response);
        const Milliseconds elapsed = watch.elapsed();
        const auto what = faultName(c.fault.kind);
        EXPECT_EQ(result, c.result) << what;
        EXPECT_GE(elapsed, c.atLeast) << what;
        EXPECT_LT(elapsed, c.atLeast + kSlack) << what;
        EXPECT_TRUE(result != ZEL_OK || response == data) << what;
    };
    const auto runAfterwards = [](simulator::Module& module, const Case& c) {
        module.clearFaults();
        std::uint64_t uuid = 0;
        EXPECT_EQ(connectTo(module, uuid), ZEL_OK);
        EXPECT_EQ(echo(uuid), ZEL_OK) << "after " << faultName(c.fault.kind);
    };
    std::vector<std::pair<simulator::Module*, const Case*>> pairs;
    for (const Case& c : cases)
        pairs.emplace_back(&addModule(), &c);
    const auto inParallel = [&](auto work) {
        std::vector<std::thread> threads;
        for (const auto& [module, c] : pairs)
            threads.emplace_back([work, module = module, c = c] { work(*module, *c); });
        for (std::thread& thread : threads)
            thread.join();
    };
    inParallel(run);
    inParallel(runAfterwards);
}

TEST_F(Transactions, TryOnceMoreAfterAResponseTimeOutAndForgetTheMessageBefore)
{
    m_module.setHandler(9, 1, [](const MethodCall&) { return MethodAnswer{-4711, "old reason"}; });
    EXPECT_EQ(request(m_uuid, 9, 1, ""), -4711);
    EXPECT_EQ(lastMessage(m_uuid), "old reason");
    simulator::Module& other = addModule();
    other.setHandler(9, 1, [](const MethodCall&) { return MethodAnswer{-4712, "other reason"}; });
    EXPECT_EQ(request(connected(other), 9, 1, ""), -4712);
    EXPECT_EQ(lastMessage(), "other reason");

    m_module.clearReceived();
    m_module.setFault(fault(FaultKind::pendingOnly, 200ms, 1));
    std::string response;
    EXPECT_EQ(echo(m_uuid, "again", &response), ZEL_OK);
    EXPECT_EQ(response, "again");
    EXPECT_EQ(lastMessage(m_uuid), "") << "the first attempt has emptied it";
    EXPECT_EQ(lastMessage(), "") << "and made its module the last one";
    EXPECT_EQ(lastMessage(other.uuid()), "other reason");
    const auto calls = m_module.received();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].data, calls[1].data);
    EXPECT_NE(calls[0].label, calls[1].label);

    m_module.clearReceived();
    m_module.setFault(fault(FaultKind::pendingOnly, 200ms));
    EXPECT_EQ(echo(m_uuid), ZEL_TRANS_TIMEOUT_RESPONSE);
    EXPECT_EQ(m_module.received().size(), 2U) << "not a third time";
}

TEST_F(Transactions, AreNumberedOneAfterTheOther)
{
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(echo(m_uuid), ZEL_OK);
    const auto calls = m_module.received();
    ASSERT_EQ(calls.size(), 5U);
    for (std::size_t i = 1; i < calls.size(); ++i)
        EXPECT_EQ(calls[i].label, static_cast<std::uint16_t>(calls[i - 1].label + 1));
}

TEST_F(Transactions, HandOnTheModulesResultAndItsText)
{
    for (const std::int32_t code : {-1000203, -1, 1, 0x7fffffff}) {
        m_module.setHandler(1, 10, [code](const MethodCall&) {
            return MethodAnswer{code, "no \"Such\" parameter"};
        });
        std::array<char, 64> buffer{};
        std::uint64_t length = 99;
        EXPECT_EQ(ZEL_XPAR_ReadPar(m_uuid, 1, "A", "B", buffer.data(), &length, buffer.size()),
                  code);
        EXPECT_EQ(lastMessage(m_uuid), "no \"Such\" parameter");
    }
}

TEST_F(Transactions, FillACallersBufferOnlyWithWhatFitsBesideTheTerminator)
{
    const std::string value(40, 'v');
    m_module.setHandler(1, 1, [&](const MethodCall&) { return MethodAnswer{ZEL_OK, value}; });
    std::string kept;
    for (const std::uint64_t capacity : {std::uint64_t{41}, std::uint64_t{40}, std::uint64_t{39}}) {
        std::string buffer(64, '#');
        std::uint64_t length = 0;
        const bool fits = capacity > value.size();
        EXPECT_EQ(ZEL_XPAR_ReadXML(m_uuid, 1, 0, buffer.data(), &length, capacity),
                  fits ? ZEL_OK : ZEL_SRV_BUFFER_TOO_SMALL);
        EXPECT_EQ(length, value.size());
        EXPECT_EQ(buffer[static_cast<std::size_t>(capacity)], '#');
        EXPECT_TRUE(!fits || buffer.substr(0, 41) == value + '\0') << buffer;
        const char* data = nullptr;
        EXPECT_EQ(ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(m_uuid, &data, &length), ZEL_OK);
        kept = {data, static_cast<std::size_t>(length)};
        EXPECT_EQ(kept, capacity < value.size() ? value : "") << capacity;
    }
}

} // namespace
} // namespace zel::test
