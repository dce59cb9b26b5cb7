// The calls of service 5 with a module that answers by script: what goes out, byte for byte, and
// what becomes of any answer.

#include "library_with_module.h"

#include <cstring>
#include <future>
#include <string>
#include <vector>

namespace zel::test {
namespace {

using simulator::MethodAnswer;
using simulator::MethodCall;

#define DOCUMENT(CONTENT)                                                                          \
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams>" CONTENT "</SrvParams>"

class MeasuredValues : public LibraryWithModule {
protected:
    void SetUp() override
    {
        LibraryWithModule::SetUp();
        m_uuid = connected(m_module);
        m_module.clearReceived();
    }

    void answer(std::uint16_t method, MethodAnswer answer, std::uint16_t service = 5)
    {
        m_module.setHandler(service, method, [answer](const MethodCall&) { return answer; });
    }
    /// The data of the only request since the last call.
    std::string sent(std::uint16_t method)
    {
        const auto calls = m_module.received();
        m_module.clearReceived();
        if (calls.size() != 1 || calls.front().id != simulator::MethodId{5, method})
            return "not one request of method " + std::to_string(method);
        return calls.front().data;
    }

    std::uint64_t m_uuid = 0;
};

TEST_F(MeasuredValues, SubscriptionIsComposedAndSentOnce)
{
    answer(2, {0, ""});
    answer(3, {-1014030, "nothing subscribed"});
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "A", 1, 1), ZEL_FAILED);
    EXPECT_EQ(ZEL_XDAQ_FinishSubscription(m_uuid, 0), ZEL_FAILED);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, nullptr, 1, 1), ZEL_SYS_BAD_PARAMETER);

    EXPECT_EQ(ZEL_XDAQ_OpenSubscription(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "AnalogIn_Connector0.Signal0", 65535, 5'000'000), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "<&>", 0, 2'000'000), ZEL_OK);
    EXPECT_TRUE(m_module.received().empty());
    EXPECT_EQ(ZEL_XDAQ_FinishSubscription(m_uuid, 18446744073709551615u), ZEL_OK);
    EXPECT_EQ(sent(2), DOCUMENT("<Signal address=\"Sig1\"><Name>AnalogIn_Connector0.Signal0</Name>"
                                "<UserSigId>65535</UserSigId><BlockSize>2000000</BlockSize>"
                                "</Signal><Signal address=\"Sig2\"><Name>&lt;&amp;&gt;</Name>"
                                "<UserSigId>0</UserSigId><BlockSize>2000000</BlockSize></Signal>"
                                "<StartTime>18446744073709551615</StartTime>"));

    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "A", 1, 1), ZEL_DAQ_SUBSCRIPTION_STATE);
    EXPECT_EQ(ZEL_XDAQ_FinishSubscription(m_uuid, 0), ZEL_DAQ_SUBSCRIPTION_STATE);
    // Opened twice there are two lists; the first gets the signals, and both go out.
    EXPECT_EQ(ZEL_XDAQ_OpenSubscription(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_OpenSubscription(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "B", 2, 0), ZEL_OK);
    answer(2, {-1014102, "no such signal"});
    EXPECT_EQ(ZEL_XDAQ_FinishSubscription(m_uuid, 5), -1014102);
    EXPECT_EQ(sent(2),
              DOCUMENT("<Signal address=\"Sig1\"><Name>B</Name><UserSigId>2</UserSigId>"
                       "<BlockSize>0</BlockSize></Signal><StartTime>5</StartTime>") "<SrvParams/>");
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "A", 1, 1), ZEL_DAQ_SUBSCRIPTION_STATE);

    EXPECT_EQ(ZEL_XDAQ_ClearSubscription(m_uuid), -1014030);
    EXPECT_EQ(sent(3), DOCUMENT(""));
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "A", 1, 1), ZEL_FAILED);
    // So does a disconnect.
    EXPECT_EQ(ZEL_XDAQ_OpenSubscription(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XCOM_Disconnect(m_uuid), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(m_uuid, "A", 1, 1), ZEL_FAILED);
}

TEST_F(MeasuredValues, SubscriptionThatAModuleDoesNotAnswerHoldsUpNoOtherAndNoDisconnect)
{
    simulator::Module& other = addModule();
    MethodAnswer never;
    never.pending = 20s;
    never.silent = true;
    answer(2, never);
    for (const bool byUuid : {true, false}) {
        const std::uint64_t uuid = connected(m_module);
        m_module.clearReceived();
        ASSERT_EQ(ZEL_XDAQ_OpenSubscription(uuid), ZEL_OK);
        auto waiting =
            std::async(std::launch::async, [uuid] { return ZEL_XDAQ_FinishSubscription(uuid, 0); });
        ASSERT_TRUE(m_module.waitForCalls(1, 5s));
        const Stopwatch watch;
        const std::uint64_t free = connected(other);
        EXPECT_EQ(ZEL_XDAQ_OpenSubscription(free), ZEL_OK);
        EXPECT_EQ(ZEL_XDAQ_AddSignal(free, "A", 1, 1), ZEL_OK);
        EXPECT_EQ(ZEL_XCOM_Disconnect(free), ZEL_OK);
        EXPECT_EQ(waiting.wait_for(0ms), std::future_status::timeout);
        EXPECT_EQ(
            byUuid ? ZEL_XCOM_Disconnect(uuid)
                   : ZEL_XCOM_DisconnectFromTcpIpDev(m_module.address().c_str(), m_module.port()),
            ZEL_OK);
        EXPECT_EQ(waiting.get(), ZEL_CONN_RECEIVE_FAILED);
        EXPECT_LT(watch.elapsed(), kSlack);
    }
    for (std::uint64_t stranger = 0; stranger < 5500; ++stranger)
        EXPECT_EQ(ZEL_XDAQ_OpenSubscription(stranger << 20), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(std::uint64_t{5499} << 20, "A", 1, 1), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_AddSignal(1403u << 20, "A", 1, 1), ZEL_FAILED);
}

TEST_F(MeasuredValues, BlockIsCopiedWhereItFits)
{
    char buffer[9] = "########";
    std::uint64_t received = 99;
    const auto fetch = [&](std::uint64_t size) {
        return ZEL_XDAQ_GetMeasValBlock(m_uuid, buffer, &received, size);
    };
    answer(1, {0, std::string("ab\0cd", 5)});
    EXPECT_EQ(fetch(5), ZEL_OK);
    EXPECT_EQ(sent(1), DOCUMENT("<MaxSize>5</MaxSize>"));
    EXPECT_EQ(received, 5u);
    EXPECT_EQ(std::string(buffer, 8), std::string("ab\0cd###", 8));
    std::memset(buffer, '#', 8);
    EXPECT_EQ(fetch(4), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(received, 4u);
    EXPECT_EQ(std::string(buffer, 8), std::string("ab\0c####", 8));
    // A warning does not cost the values that came with it.
    answer(1, {14, "xyz"});
    EXPECT_EQ(fetch(4), 14);
    EXPECT_EQ(received, 3u);
    EXPECT_EQ(std::string(buffer, 4), "xyzc");
    std::memset(buffer, '#', 8);
    answer(1, {0, ""});
    EXPECT_EQ(fetch(4), ZEL_OK);
    EXPECT_EQ(received, 0u);
    answer(1, {-1014030, "no"});
    received = 99;
    EXPECT_EQ(fetch(4), -1014030);
    EXPECT_EQ(received, 0u);
    EXPECT_STREQ(buffer, "########");
    EXPECT_EQ(fetch(0), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XDAQ_GetMeasValBlock(m_uuid, nullptr, &received, 4), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XDAQ_GetMeasValBlock(m_uuid, buffer, nullptr, 4), ZEL_SYS_BAD_PARAMETER);
}

TEST_F(MeasuredValues, OneValueIsAskedForByItsPath)
{
    const std::string path =
        "Amplifier/Connector[@address=&quot;1&quot;]/Mode[@choice=&quot;AnalogInChannel&quot;]/"
        "AnalogInChannel/SyncSignal[@address=&quot;3&quot;]";
    answer(7, {0, DOCUMENT("<MeasVal>-1.5e3</MeasVal>")});
    double value = 0;
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "AnalogIn_Connector0.Signal2", &value), ZEL_OK);
    EXPECT_EQ(value, -1500.0);
    EXPECT_EQ(sent(7), "<?xml version=\"1.0\" encoding=\"UTF-8\"?><SrvParams><SigId>" + path +
                           "</SigId><ScaleType>2</ScaleType></SrvParams>");
    EXPECT_EQ(ZEL_XDAQ_GetAnalogMeasVal(m_uuid, 1, 3, &value), ZEL_OK);
    EXPECT_NE(sent(7).find(path), std::string::npos);
    EXPECT_EQ(ZEL_XDAQ_GetCanMeasVal(m_uuid, 4, 2, &value), ZEL_OK);
    EXPECT_NE(sent(7).find("Amplifier/Connector[@address=&quot;4&quot;]/Mode[@choice=&quot;CanBus"
                           "&quot;]/CanBus/CanInChannel[@address=&quot;2&quot;]/AsyncSignal<"),
              std::string::npos);
    EXPECT_EQ(ZEL_XDAQ_GetMeasValByType(m_uuid, "any/path", 0, &value), ZEL_OK);
    EXPECT_EQ(sent(7), DOCUMENT("<SigId>any/path</SigId><ScaleType>0</ScaleType>"));
    answer(7, {14, DOCUMENT("<MeasVal>2</MeasVal>")});
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "any/path", &value), 14);
    EXPECT_EQ(value, 2.0);
}

TEST_F(MeasuredValues, ReferencesWithoutAPathAreNotSent)
{
    double value = 77;
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "", &value), ZEL_SIGNAL_UNKNOWN);
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "Nonsense", &value), ZEL_SIGNAL_UNKNOWN);
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "Math_Index0.Signal0", &value), ZEL_SIGNAL_NOT_SUPPORTED);
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "AnalogIn_Connector0", &value), ZEL_SIGNAL_NOT_CORRECT);
    EXPECT_STREQ(ZEL_XUTIL_GetText(ZEL_SIGNAL_UNKNOWN), "Requested signal reference unknown");
    EXPECT_TRUE(m_module.received().empty());
    EXPECT_EQ(value, 77);

    for (const auto& [data, result] :
         {std::pair{"", ZEL_PARAM_XML_ERROR},
          {"<SrvParams/>", ZEL_PARAM_XML_ERROR},
          {"<SrvParams><MeasVal/></SrvParams>", ZEL_UTIL_STRING_CONVERSION},
          {"<SrvParams><MeasVal>1x</MeasVal></SrvParams>", ZEL_UTIL_STRING_CONVERSION}}) {
        answer(7, {0, data});
        EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "a/b", &value), result) << data;
        EXPECT_EQ(value, 77);
    }
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, nullptr, &value), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XDAQ_GetMeasVal(m_uuid, "a/b", nullptr), ZEL_SYS_BAD_PARAMETER);
}

TEST_F(MeasuredValues, AllValuesAreRead)
{
    answer(7, {0, DOCUMENT("<SigCount>3</SigCount><SigId>A</SigId><MeasVal>1</MeasVal><SigId>B"
                           "</SigId><MeasVal>1.7976931348623157e+308</MeasVal><SigId>C</SigId>"
                           "<MeasVal>-2.5</MeasVal>")});
    std::vector<ZEL_MeasuredValue> values(3);
    std::uint64_t count = 99;
    EXPECT_EQ(ZEL_XDAQ_GetAllMeasVals(m_uuid, 2, values.data(), &count, 3), ZEL_OK);
    EXPECT_EQ(sent(7), DOCUMENT("<EnabledOnly>1</EnabledOnly>"));
    EXPECT_EQ(count, 3u);
    EXPECT_STREQ(values[1].id, "B");
    EXPECT_EQ(values[1].value, 1.7976931348623157e308);
    EXPECT_EQ(values[2].value, -2.5);

    EXPECT_EQ(ZEL_XDAQ_GetAllMeasVals(m_uuid, 0, values.data(), &count, 2),
              ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 3u);
    answer(7, {0, DOCUMENT("<SigId>A</SigId><SigId>B</SigId><MeasVal>1</MeasVal>")});
    EXPECT_EQ(ZEL_XDAQ_GetAllMeasVals(m_uuid, 0, values.data(), &count, 3), ZEL_PARAM_XML_ERROR);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(ZEL_XDAQ_GetAllMeasVals(m_uuid, 0, values.data(), &count, 0), ZEL_SYS_BAD_PARAMETER);
}

TEST_F(MeasuredValues, SignalListsTellWhatIsThere)
{
    const std::string longName(300, 'n');
    answer(6, {0, "<SrvParams><SigCount>2</SigCount><SigId name=\"Force &amp; more\" unit=\"N\" "
                  "rate=\"1200\" dataType=\"36\" kind=\"1\" enabled=\"1\">"
                  "AnalogIn_Connector0.Signal1</SigId><SigId name=\"" +
                      longName + "\" rate=\"x\" enabled=\"7\">Gate_1</SigId></SrvParams>"});
    std::vector<ZEL_SignalInfoEx> signals(2);
    std::uint64_t count = 0;
    EXPECT_EQ(ZEL_XDAQ_GetSignalListEx(m_uuid, signals.data(), &count, 2), ZEL_OK);
    EXPECT_EQ(sent(6), DOCUMENT(""));
    EXPECT_EQ(count, 2u);
    const ZEL_SignalInfoEx& first = signals[0];
    EXPECT_STREQ(first.id, "AnalogIn_Connector0.Signal1");
    EXPECT_EQ(first.connectorType, ZEL_CONNECTOR_ANALOG);
    EXPECT_EQ(first.connector, 1u);
    EXPECT_EQ(first.channel, 1u);
    EXPECT_EQ(first.signal, 2u);
    EXPECT_STREQ(first.path, "Amplifier/Connector[@address=\"1\"]/Mode[@choice=\"AnalogInChannel\"]"
                             "/AnalogInChannel/SyncSignal[@address=\"2\"]");
    EXPECT_STREQ(first.name, "Force & more");
    EXPECT_STREQ(first.unit, "N");
    EXPECT_EQ(first.sampleRate, 1200.0);
    EXPECT_EQ(first.dataType, 36u);
    EXPECT_EQ(first.recordKind, 1u);
    EXPECT_EQ(first.isEnabled, 1u);
    EXPECT_EQ(signals[1].connectorType, 0u);
    EXPECT_STREQ(signals[1].path, "");
    EXPECT_EQ(std::string{signals[1].name}, longName.substr(0, 127));
    EXPECT_EQ(signals[1].sampleRate, 0.0);
    EXPECT_EQ(signals[1].isEnabled, 0u);

    std::vector<ZEL_SignalInfo> ids(1);
    EXPECT_EQ(ZEL_XDAQ_GetSignalList(m_uuid, ids.data(), &count, 1), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(ids[0].id, "AnalogIn_Connector0.Signal1");
    answer(6, {14, "<SrvParams><SigId>A</SigId></SrvParams>"});
    EXPECT_EQ(ZEL_XDAQ_GetSignalList(m_uuid, ids.data(), &count, 1), 14);
    EXPECT_EQ(count, 1u);
    m_module.clearReceived();

    answer(8, {0, "A\tForce\n"});
    char text[9];
    std::uint64_t length = 0;
    EXPECT_EQ(ZEL_XDAQ_GetSignalListString(m_uuid, text, &length, 9), ZEL_OK);
    EXPECT_STREQ(text, "A\tForce\n");
    EXPECT_EQ(sent(8), DOCUMENT(""));
    EXPECT_EQ(ZEL_XDAQ_GetSignalListString(m_uuid, text, &length, 8), ZEL_SRV_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 8u);
}

TEST_F(MeasuredValues, TriggersHoldUntilTheirConditionIsMet)
{
    const std::string uuid = "uuid=" + std::to_string(m_uuid);
    for (const std::string& text :
         {std::string{}, uuid, std::string{"status=1"}, uuid + " status=x", uuid + " status=1 a=2",
          uuid + " status=1 status=1", uuid + " status=1 above=2", uuid + " reference=a/b",
          uuid + " reference=a/b above=nan", uuid + " reference=a/b above=1 status=2",
          uuid + " status"})
        EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(text.c_str()), ZEL_SRV_INVALID_PARAMETERS) << text;

    const std::string status = uuid + " status=7 connector=2 value=1";
    ZEL_TriggerEvent event{};
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(0, status.c_str(), &event), ZEL_DAQ_TRIGGER_UNKNOWN);
    EXPECT_EQ(ZEL_XDAQ_ClearTrigger(status.c_str()), ZEL_DAQ_TRIGGER_UNKNOWN);
    EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(status.c_str()), ZEL_OK);
    EXPECT_TRUE(m_module.received().empty());

    const auto statuses = [](unsigned value) {
        return "<SrvParams><Status StatusId=\"7\" Connector=\"1\" Value=\"1\"/><Status "
               "StatusId=\"7\" Connector=\"2\" Value=\"" +
               std::to_string(value) + "\"><Info>here</Info></Status></SrvParams>";
    };
    answer(3, {0, statuses(0)}, 2);
    const Stopwatch watch;
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(250, status.c_str(), &event), ZEL_UTIL_WAIT_TIMEOUT);
    EXPECT_GE(watch.elapsed(), 250ms);
    EXPECT_LE(m_module.received().size(), 3u); // not faster than every 100 ms
    answer(3, {0, statuses(1)}, 2);
    // The same trigger in other words.
    const std::string other = "value=0x1 status=7\tconnector=2 " + uuid;
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(0, other.c_str(), &event), ZEL_OK);
    EXPECT_EQ(event.value, 1.0);
    EXPECT_EQ(event.status.connector, 2u);
    EXPECT_STREQ(event.status.info, "here");

    const std::string signal = uuid + " reference=AnalogIn_Connector0.Signal0 above=9.5 below=11";
    EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(signal.c_str()), ZEL_OK);
    double value = 9.0;
    m_module.setHandler(5, 7, [&value](const MethodCall&) -> MethodAnswer {
        value += 0.25;
        return {0, "<SrvParams><MeasVal>" + std::to_string(value) + "</MeasVal></SrvParams>"};
    });
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(5000, signal.c_str(), &event), ZEL_OK);
    EXPECT_EQ(event.value, 9.75);
    EXPECT_EQ(event.status.statusId, 0u);
    answer(7, {0, DOCUMENT("<MeasVal>1.7976931348623157e+308</MeasVal>")});
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(0, signal.c_str(), &event), ZEL_UTIL_WAIT_TIMEOUT);
    // Warnings are none of the trigger's business.
    answer(7, {14, DOCUMENT("<MeasVal>10</MeasVal>")});
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(0, signal.c_str(), &event), ZEL_OK);
    EXPECT_EQ(event.value, 10.0);
    answer(7, {-1014102, "no such signal"});
    EXPECT_EQ(ZEL_XDAQ_WaitForTrigger(5000, signal.c_str(), &event), -1014102);
}

/// A wait for a minute in a thread of its own, that has looked at the module already.
class WaitingForTriggers : public MeasuredValues {
protected:
    void SetUp() override
    {
        MeasuredValues::SetUp();
        m_text = "uuid=" + std::to_string(m_uuid) + " status=7";
        answer(3, {0, "<SrvParams/>"}, 2);
        EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(m_text.c_str()), ZEL_OK);
        m_result = std::async(std::launch::async, [this] {
            ZEL_TriggerEvent event{};
            return ZEL_XDAQ_WaitForTrigger(60000, m_text.c_str(), &event);
        });
        EXPECT_TRUE(m_module.waitForCalls(2, 5000ms));
    }
    /// Within a second or so, not at the end of the minute.
    std::int32_t result()
    {
        if (m_result.wait_for(5s) != std::future_status::ready)
            ADD_FAILURE() << "still waiting";
        return m_result.get();
    }

    std::string m_text;
    std::future<std::int32_t> m_result;
};

TEST_F(WaitingForTriggers, EndsWhenTheTriggerIsCleared)
{
    EXPECT_EQ(ZEL_XDAQ_ClearTrigger(m_text.c_str()), ZEL_OK);
    EXPECT_EQ(result(), ZEL_DAQ_TRIGGER_UNKNOWN);
}

TEST_F(WaitingForTriggers, EndsAlsoWhenTheTriggerIsActiveAgainAtOnce)
{
    EXPECT_EQ(ZEL_XDAQ_ClearTrigger(m_text.c_str()), ZEL_OK);
    EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(m_text.c_str()), ZEL_OK);
    EXPECT_EQ(result(), ZEL_DAQ_TRIGGER_UNKNOWN);
}

TEST_F(WaitingForTriggers, GoesOnWhenTheTriggerIsActivatedTwice)
{
    EXPECT_EQ(ZEL_XDAQ_ActivateTrigger(m_text.c_str()), ZEL_OK);
    answer(3, {0, "<SrvParams><Status StatusId=\"7\" Value=\"3\"/></SrvParams>"}, 2);
    EXPECT_EQ(result(), ZEL_OK);
}

TEST_F(WaitingForTriggers, EndsWhenTheLibraryIsUnloaded)
{
    ZEL_Unload();
    EXPECT_EQ(result(), ZEL_SYS_NOT_STARTED);
}

// The module still owes an answer when the library goes.
TEST_F(WaitingForTriggers, EndsWithItsRequestWhenTheLibraryIsUnloaded)
{
    m_module.setFault(fault(simulator::FaultKind::delay, 400ms));
    m_module.clearReceived();
    EXPECT_TRUE(m_module.waitForCalls(1, 5000ms));
    ZEL_Unload();
    EXPECT_EQ(result(), ZEL_SYS_NOT_STARTED);
}

} // namespace
} // namespace zel::test
