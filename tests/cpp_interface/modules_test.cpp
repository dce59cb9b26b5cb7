#include "library_with_module.h"
#include "ZEL_VR_Framework.hpp"

#include <future>
#include <thread>

namespace zel::test {
namespace {

using simulator::FaultKind;
using simulator::MethodCall;

class CppModules : public LibraryWithModule {
protected:
    static Address addressOf(const simulator::Module& module)
    {
        return {module.address(), module.port()};
    }
    Address address() const { return addressOf(m_module); }
};

template <class Call>
Error errorOf(Call&& call)
{
    try {
        call();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "it has worked";
    return Error({});
}

TEST(CppLibrary, IsStartedWhileOneLivesAndStopsWithTheLast)
{
    const auto isStarted = [] { return ZEL_XDAQ_OpenSubscription(1) == ZEL_OK; };
    {
        auto first = std::make_unique<Library>();
        const Library copy = *first;
        first.reset();
        EXPECT_TRUE(isStarted());
        EXPECT_EQ(copy.textOf(ZEL_TCP_CONNECT_FAILED), "TCP: Connect failed");
        EXPECT_EQ(copy.textOf(12345), "");
    }
    EXPECT_FALSE(isStarted());
    // Several at the same time, from the start again and again.
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                const Library library;
                EXPECT_TRUE(isStarted());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(isStarted());
    ZEL_Init();
    Library{};
    EXPECT_TRUE(isStarted());
    ZEL_Unload();
}

TEST(CppAddresses, AreReadAndToldApart)
{
    EXPECT_EQ(Address::parse("[fe80::1]:1200"), (Address{"fe80::1", 1200}));
    EXPECT_EQ(Address::parse("amplifier-3").text(), "amplifier-3:55000");
    EXPECT_EQ(Address::parse("[::1]").text(), "[::1]:55000");
    for (const char* const bad :
         {"", ":1", "a:", "a:0", "a:65536", "a:1x", "[::1", "[::1]1", "::1", "a b", "a/b", "a:-1"})
        EXPECT_THROW(Address::parse(bad), std::invalid_argument) << bad;
    EXPECT_FALSE(ModuleTarget::parse("10.0.0.1").mayBeName);
    EXPECT_THROW(ModuleTarget::parse("10.0.0.256"), std::invalid_argument);
    EXPECT_TRUE(ModuleTarget::parse("MOD-1").mayBeName && ModuleTarget::parse("MOD-1").address);
    EXPECT_FALSE(ModuleTarget::parse("0x12").address || ModuleTarget::parse("Test stand").address);
}

TEST(CppScans, FindModulesInTheLibrarysDocument)
{
    detail::XmlText elements("<?xml version=\"1.0\"?>\n<SrvParams><Module address=\"0\">"
                             "<IpAdr>10.0.0.7</IpAdr><Name>A&amp;&#181;&lt;&#x20AC;&gt;</Name>"
                             "<Type/><Uuid> </Uuid></Module><Module address=\"1\"/>"
                             "<Module><Name>b</Name>");
    const auto first = elements.next("Module").value();
    EXPECT_EQ(detail::XmlText::child(first, "Name"), "A&\u00B5<\u20AC>");
    EXPECT_EQ(detail::XmlText::child(first, "IpAdr"), "10.0.0.7");
    for (const char* const none : {"Type", "Uuid", "Nam", "Module"})
        EXPECT_EQ(detail::XmlText::child(first, none), "") << none;
    EXPECT_EQ(elements.next("Module"), "");
    EXPECT_TRUE(elements.next("Module"));
    EXPECT_FALSE(elements.next("Module"));

    const Adapter close{.number = 0, .address = "10.0.0.1", .mask = "255.0.0.0"};
    std::vector<FoundModule> modules(4);
    modules[0] = {.address = "10.0.0.7", .mask = "255.0.0.0", .name = "MOD-1", .uuid = 1};
    modules[1] = {
        .address = "10.0.0.7", .mask = "", .port = 1, .name = "MOD-1", .uuid = 1, .adapter = close};
    modules[2] = {.address = "11.0.0.7", .port = 70000, .name = "MOD-10", .uuid = 18};
    modules[3] = {.name = "B\u00C4R", .uuid = 3};
    const auto namesOf = [&](const std::string& text) {
        std::string names;
        for (const FoundModule& module : matchingModules(modules, text))
            names += module.name + (module.fits() ? "+ " : " ");
        return names;
    };
    EXPECT_EQ(namesOf("MOD-1"), "MOD-1+ ");
    EXPECT_EQ(namesOf("mod-1"), "MOD-1+ ");
    EXPECT_EQ(namesOf("mod"), "MOD-1+ MOD-10 ");
    EXPECT_EQ(namesOf("0x12"), "MOD-10 ");
    EXPECT_EQ(namesOf("b\u00E4"), "B\u00C4R ");
    EXPECT_EQ(namesOf("nobody"), "");
    EXPECT_EQ(modules[1].tcpAddress(), (Address{"10.0.0.7", 1}));
    EXPECT_FALSE(modules[0].tcpAddress() || modules[2].tcpAddress() || modules[3].tcpAddress());
}

TEST_F(CppModules, ReadAndWriteParameters)
{
    Module module(address());
    EXPECT_EQ(module.uuid(), m_module.uuid());
    module.set("System/Location", "lab");
    EXPECT_EQ(module.get("System/Location"), "lab");
    module.set("System/Location", std::int32_t{-3});
    EXPECT_EQ(module.getNumber("System/Location"), -3.0);
    module.set("System/Location", 2.5);
    EXPECT_EQ(module.get("System/Location"), "2.500000");
    EXPECT_THROW(module.get(std::string("a\0b", 3)), std::invalid_argument);

    const Error refused = errorOf([&] { module.get("No/Such"); });
    EXPECT_LT(refused.code(), ZEL_OK);
    EXPECT_EQ(refused.tried(), "read No/Such in view 1");
    EXPECT_EQ(refused.address(), address().text());
    EXPECT_NE(refused.codeText(), "");
    EXPECT_NE(refused.moduleText(), "");
    EXPECT_NE(std::string(refused.what()).find("the module says: "), std::string::npos);
    EXPECT_FALSE(refused.isConnectionLost());

    m_module.setHandler(1, 9, [](const MethodCall&) {
        return simulator::MethodAnswer{17, "rounded"};
    });
    EXPECT_FALSE(module.lastWarning());
    module.set("System/Location", "here");
    ASSERT_TRUE(module.lastWarning());
    EXPECT_EQ(module.lastWarning()->code, 17);
    EXPECT_EQ(module.lastWarning()->moduleText, "rounded");
}

TEST_F(CppModules, ReadTextsOfAnyLengthInAsFewRequestsAsTheyCan)
{
    Module module(address());
    for (const auto& [length, requests] : {std::pair{4095u, 1u}, {4096u, 2u}, {3'000'000u, 2u}}) {
        const std::string text(length, 'x');
        m_module.setHandler(1, 10, [&](const MethodCall&) {
            return simulator::MethodAnswer{0, text};
        });
        m_module.clearReceived();
        EXPECT_EQ(module.get("Long"), text);
        EXPECT_EQ(m_module.received(1, 10).size(), requests);
    }
    m_module.clearReceived();
    EXPECT_GT(module.document().size(), 10000u);
    EXPECT_EQ(m_module.received(1, 1).size(), 1u);
    EXPECT_LT(module.document(1, "System").size(), module.document().size());
    // A control is executed once, however long its answer is.
    const std::string answer(2'000'000, 'a');
    int executed = 0;
    m_module.setHandler(3, 1, [&](const MethodCall&) {
        ++executed;
        return simulator::MethodAnswer{0, answer};
    });
    EXPECT_EQ(module.executeDocument("LEDFLASH", "<ControlParams/>"), answer);
    EXPECT_EQ(executed, 1);
}

TEST_F(CppModules, ListSignalsAndChooseThem)
{
    const Module module(address());
    auto signals = module.signals();
    ASSERT_GT(signals.size(), 4u);
    const Signal& first = signals.front();
    EXPECT_EQ(first.reference, "AnalogIn_Connector0.Signal0");
    EXPECT_EQ(first.connector, 1u);
    EXPECT_EQ(first.millihertz(), 1'200'000u);
    EXPECT_NE(errorOf([&] { chooseSignal(signals, first.name); }).codeText().find("several"),
              std::string::npos);
    signals[1].name = "Force";
    EXPECT_EQ(chooseSignal(signals, "Force").reference, signals[1].reference);
    EXPECT_EQ(module.signal(first.reference).name, first.name);
    EXPECT_EQ(errorOf([&] { module.signal("nobody"); }).code(), ZEL_SIGNAL_UNKNOWN);
    EXPECT_FALSE(isNoValue(module.value(first.reference)));
    EXPECT_EQ(module.values(false).size(), signals.size());
}

// The library has one connection to a module, whoever asks for it.
TEST_F(CppModules, ShareAConnectionAndTheLastOneClosesIt)
{
    auto first = std::make_unique<Module>(address());
    Module second(address());
    first.reset();
    EXPECT_EQ(second.get("System/Name"), "MOD-1");
    second = Module(address()); // dials before the old one goes
    EXPECT_EQ(second.get("System/Name"), "MOD-1");
    EXPECT_EQ(m_module.connectionCount(), 1u);
    // Coming and going at the same time, nobody loses the connection.
    std::vector<std::thread> threads;
    second = Module(addressOf(addModule()));
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int round = 0; round < 50; ++round)
                EXPECT_EQ(Module(address()).get("System/Name"), "MOD-1");
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(CppModules, TellThatTheConnectionIsLostAndDialAgain)
{
    Module module(address());
    m_module.setFault(fault(FaultKind::silence));
    auto waiting = std::async(std::launch::async, [&] { module.get("System/Name"); });
    EXPECT_TRUE(m_module.waitForCalls(1, 5s));
    module.disconnect();
    EXPECT_TRUE(errorOf([&] { waiting.get(); }).isConnectionLost());
    EXPECT_TRUE(errorOf([&] { module.get("System/Name"); }).isConnectionLost());
    m_module.clearFaults();
    module = Module(address());
    EXPECT_EQ(module.get("System/Name"), "MOD-1");
    m_module.stopListening();
    const Address nobody = addressOf(m_module);
    module = Module(Address{nobody}); // the connection that is there
    module.disconnect();
    const Error refused = errorOf([&] { Module{nobody}; });
    EXPECT_EQ(refused.code(), ZEL_TCP_CONNECT_FAILED);
    EXPECT_EQ(refused.tried(), "connect to " + nobody.text());
}

} // namespace
} // namespace zel::test
