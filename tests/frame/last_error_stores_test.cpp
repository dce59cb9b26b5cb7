#include "last_error_stores.h"
#include "ZEL_VR_Framework.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// What an export hands out.
struct Handed {
    std::int32_t result = 1;
    const char* data = nullptr;
    std::uint64_t length = 99;

    std::string_view text() const { return {data, static_cast<std::size_t>(length)}; }
};

template <class Export, class... Uuid>
Handed handedBy(Export function, Uuid... uuid)
{
    Handed handed;
    handed.result = function(uuid..., &handed.data, &handed.length);
    return handed;
}

Handed lastMessage()
{
    return handedBy(ZEL_XPAR_GetLastErrMsg);
}

Handed messageOf(std::uint64_t uuid)
{
    return handedBy(ZEL_XPAR_GetLastErrMsgByUuid, uuid);
}

Handed lastData()
{
    return handedBy(ZEL_XCOM_GetSyncReqrSrvLastErrDat);
}

Handed dataOf(std::uint64_t uuid)
{
    return handedBy(ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid, uuid);
}

/// A received telegram of which the header has been taken off.
std::unique_ptr<zel::clRxTelContainer> telegram(std::string_view payload)
{
    constexpr std::size_t kHeaderSize = 8;
    auto container = std::make_unique<zel::clRxTelContainer>(kHeaderSize + payload.size());
    std::memset(container->writable().data(), '#', kHeaderSize);
    if (!payload.empty())
        std::memcpy(container->writable().data() + kHeaderSize, payload.data(), payload.size());
    container->takeOff(kHeaderSize);
    return container;
}

class LastErrorStores : public testing::Test {
protected:
    void SetUp() override { ZEL_Init(); }
    void TearDown() override
    {
        ZEL_Unload();
        zel::clearLastErrorStores();
    }
};

TEST_F(LastErrorStores, AnswerAnEmptyTextForAModuleThatNeverFailed)
{
    for (const Handed& handed : {lastMessage(), messageOf(7), lastData(), dataOf(7)}) {
        EXPECT_EQ(handed.result, 0);
        ASSERT_NE(handed.data, nullptr);
        EXPECT_STREQ(handed.data, "");
        EXPECT_EQ(handed.length, 0U);
    }
}

TEST_F(LastErrorStores, KeepTheLatestOfEachModuleAndTheLatestOfAll)
{
    zel::messageStore().put(1, "refused");
    zel::messageStore().put(2, std::string("bad\0path", 8));
    EXPECT_EQ(lastMessage().text(), std::string_view("bad\0path", 8));
    EXPECT_EQ(messageOf(1).text(), "refused");

    const char* const kept = messageOf(2).data;
    zel::messageStore().put(1, "");
    for (std::uint64_t other = 100; other < 1100; ++other)
        zel::messageStore().put(other, "filler");
    EXPECT_EQ(messageOf(2).data, kept) << "a pointer lives until the next write for its module";
    EXPECT_EQ(messageOf(1).length, 0U);
    EXPECT_EQ(lastMessage().text(), "filler");

    zel::dataStore().put(1, telegram("<SrvParams/>"));
    zel::dataStore().put(2, telegram(""));
    EXPECT_EQ(dataOf(1).text(), "<SrvParams/>");
    EXPECT_STREQ(lastData().data, "");
    zel::dataStore().put(1, telegram("shorter"));
    EXPECT_EQ(lastData().text(), "shorter");
    zel::dataStore().put(1, nullptr);
    EXPECT_EQ(lastData().length, 0U);
}

TEST_F(LastErrorStores, AreBoundedInAll)
{
    using Store = zel::clLastErrorStore<std::string>;
    for (std::uint64_t uuid = 1; uuid <= Store::kMostModules + 1; ++uuid)
        zel::messageStore().put(uuid, "refused");
    EXPECT_EQ(messageOf(1).length, 0U);
    EXPECT_EQ(messageOf(2).text(), "refused");

    const std::string third(Store::kMostBytes / 3 - 8, 'x');
    for (const std::uint64_t uuid : {1U, 2U, 3U, 1U, 4U})
        zel::dataStore().put(uuid, telegram(third));
    EXPECT_EQ(dataOf(2).length, 0U) << "it is the oldest by now";
    for (const std::uint64_t uuid : {1U, 3U, 4U})
        EXPECT_EQ(dataOf(uuid).text(), third);

    const std::string huge(Store::kMostBytes, 'y');
    zel::dataStore().put(3, telegram(huge));
    EXPECT_EQ(lastData().text(), huge) << "never the one just put there";
    EXPECT_EQ(dataOf(1).length, 0U);
    ZEL_XCOM_Disconnect(3);
    EXPECT_EQ(dataOf(3).length, 0U);
    zel::dataStore().put(1, telegram(third));
    ZEL_XCOM_Disconnect(1);
    EXPECT_EQ(dataOf(1).text(), third) << "what is not too large stays";
}

TEST_F(LastErrorStores, AreEmptiedByUnload)
{
    zel::messageStore().put(1, "refused");
    zel::dataStore().put(1, telegram("long answer"));
    ZEL_Unload();
    EXPECT_EQ(messageOf(1).result, -1016035);
    EXPECT_EQ(lastMessage().result, -1016035);
    EXPECT_EQ(dataOf(1).length, 0U);

    ZEL_Init();
    EXPECT_EQ(messageOf(1).length, 0U);
    EXPECT_EQ(lastMessage().length, 0U);
}

TEST_F(LastErrorStores, AnswerForDataAlsoWhenTheLibraryIsNotStarted)
{
    ZEL_Unload();
    zel::dataStore().put(3, telegram("left over"));
    EXPECT_EQ(dataOf(3).text(), "left over");
    EXPECT_EQ(lastData().text(), "left over");

    std::uint64_t length = 0;
    const char* data = nullptr;
    EXPECT_EQ(ZEL_XCOM_GetSyncReqrSrvLastErrDat(nullptr, &length), -1016045);
    EXPECT_EQ(ZEL_XCOM_GetSyncReqrSrvLastErrDat(&data, nullptr), -1016045);
    EXPECT_EQ(ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(3, nullptr, &length), -1016045);
    EXPECT_EQ(ZEL_XCOM_GetSyncReqrSrvLastErrDatByUuid(3, &data, nullptr), -1016045);
}

TEST_F(LastErrorStores, TakeWritersAndReadersOfManyThreads)
{
    std::vector<std::thread> threads;
    for (std::uint64_t uuid = 0; uuid < 4; ++uuid) {
        threads.emplace_back([uuid] {
            for (int i = 0; i < 500; ++i) {
                zel::messageStore().put(uuid, "module " + std::to_string(uuid));
                EXPECT_EQ(messageOf(uuid).text(), "module " + std::to_string(uuid));
                EXPECT_EQ(lastMessage().length, 8U);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
