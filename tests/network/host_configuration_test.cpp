// The steps of the host's configuration against objects that count their references and fail on
// demand. Windows only; the management service itself is not needed.
#ifdef _WIN32

#include "windows/wmi_steps.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The system's interfaces have no virtual destructor, and are never destroyed through one.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A function of an interface that nobody may ask for.
#define NOT_ASKED(name, ...)                                                                       \
    HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override                                           \
    {                                                                                              \
        return E_NOTIMPL;                                                                          \
    }

namespace zel::network {
namespace {

/// What the fakes have in common.
struct World {
    int living = 0; // references to objects that were handed out
    int calls = 0;
    int failAt = 0; // the call that fails; 0 for none
    bool findsNothing = false;
    std::vector<std::wstring> log;

    HRESULT step(const std::wstring& what)
    {
        log.push_back(what);
        return ++calls == failAt ? E_FAIL : S_OK;
    }
};

template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(World& world) : m_world(world) { ++m_world.living; }
    virtual ~Counted() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        ++m_world.living;
        return ++m_references;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        --m_world.living;
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    World& m_world;

private:
    ULONG m_references = 1;
};

/// The first text of an array of texts.
std::wstring firstText(const VARIANT& value)
{
    BSTR text = nullptr;
    LONG index = 0;
    if (value.vt != (VT_ARRAY | VT_BSTR) ||
        FAILED(SafeArrayGetElement(value.parray, &index, &text)))
        return L"no texts";
    const std::wstring copy{text};
    SysFreeString(text);
    return copy;
}

class FakeObject final : public Counted<IWbemClassObject> {
public:
    using Counted::Counted;

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) override
    {
        const HRESULT result = m_world.step(std::wstring{L"Get "} + name);
        if (SUCCEEDED(result)) {
            value->vt = VT_BSTR;
            value->bstrVal = SysAllocString(L"the path");
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG, VARIANT* value, CIMTYPE) override
    {
        return m_world.step(std::wstring{L"Put "} + name + L"=" + firstText(*value));
    }
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG, IWbemClassObject** in,
                                        IWbemClassObject**) override
    {
        const HRESULT result = m_world.step(std::wstring{L"GetMethod "} + name);
        if (SUCCEEDED(result))
            *in = new FakeObject{m_world};
        return result;
    }
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG, IWbemClassObject** made) override
    {
        const HRESULT result = m_world.step(L"SpawnInstance");
        if (SUCCEEDED(result))
            *made = new FakeObject{m_world};
        return result;
    }

    NOT_ASKED(GetQualifierSet, IWbemQualifierSet**)
    NOT_ASKED(Delete, LPCWSTR)
    NOT_ASKED(GetNames, LPCWSTR, LONG, VARIANT*, SAFEARRAY**)
    NOT_ASKED(BeginEnumeration, LONG)
    NOT_ASKED(Next, LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*)
    NOT_ASKED(EndEnumeration)
    NOT_ASKED(GetPropertyQualifierSet, LPCWSTR, IWbemQualifierSet**)
    NOT_ASKED(Clone, IWbemClassObject**)
    NOT_ASKED(GetObjectText, LONG, BSTR*)
    NOT_ASKED(SpawnDerivedClass, LONG, IWbemClassObject**)
    NOT_ASKED(CompareTo, LONG, IWbemClassObject*)
    NOT_ASKED(GetPropertyOrigin, LPCWSTR, BSTR*)
    NOT_ASKED(InheritsFrom, LPCWSTR)
    NOT_ASKED(PutMethod, LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
    NOT_ASKED(DeleteMethod, LPCWSTR)
    NOT_ASKED(BeginMethodEnumeration, LONG)
    NOT_ASKED(NextMethod, LONG, BSTR*, IWbemClassObject**, IWbemClassObject**)
    NOT_ASKED(EndMethodEnumeration)
    NOT_ASKED(GetMethodQualifierSet, LPCWSTR, IWbemQualifierSet**)
    NOT_ASKED(GetMethodOrigin, LPCWSTR, BSTR*)
};

class FakeEnumeration final : public Counted<IEnumWbemClassObject> {
public:
    using Counted::Counted;

    HRESULT STDMETHODCALLTYPE Next(LONG, ULONG, IWbemClassObject** objects, ULONG* count) override
    {
        const HRESULT result = m_world.step(L"Next");
        *count = 0;
        if (SUCCEEDED(result) && !m_world.findsNothing) {
            *objects = new FakeObject{m_world};
            *count = 1;
        }
        return result;
    }

    NOT_ASKED(Reset)
    NOT_ASKED(NextAsync, ULONG, IWbemObjectSink*)
    NOT_ASKED(Clone, IEnumWbemClassObject**)
    NOT_ASKED(Skip, LONG, ULONG)
};

class FakeServices final : public Counted<IWbemServices> {
public:
    using Counted::Counted;

    HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, LONG, IWbemContext*,
                                        IWbemClassObject** object, IWbemCallResult**) override
    {
        const HRESULT result = m_world.step(std::wstring{L"GetObject "} + path);
        if (SUCCEEDED(result))
            *object = new FakeObject{m_world};
        return result;
    }
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG, IWbemContext*,
                                        IEnumWbemClassObject** found) override
    {
        const HRESULT result = m_world.step(std::wstring{language} + L" " + query);
        if (SUCCEEDED(result))
            *found = new FakeEnumeration{m_world};
        return result;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR path, const BSTR method, LONG, IWbemContext*,
                                         IWbemClassObject* arguments, IWbemClassObject**,
                                         IWbemCallResult**) override
    {
        return m_world.step(std::wstring{L"ExecMethod "} + method + L" on " + path +
                            (arguments ? L" with arguments" : L""));
    }

    NOT_ASKED(OpenNamespace, const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
    NOT_ASKED(CancelAsyncCall, IWbemObjectSink*)
    NOT_ASKED(QueryObjectSink, LONG, IWbemObjectSink**)
    NOT_ASKED(GetObjectAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(PutClass, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    NOT_ASKED(PutClassAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(DeleteClass, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    NOT_ASKED(DeleteClassAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(CreateClassEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    NOT_ASKED(CreateClassEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(PutInstance, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    NOT_ASKED(PutInstanceAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(DeleteInstance, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    NOT_ASKED(DeleteInstanceAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(CreateInstanceEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    NOT_ASKED(CreateInstanceEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(ExecQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_ASKED(ExecNotificationQuery, const BSTR, const BSTR, LONG, IWbemContext*,
              IEnumWbemClassObject**)
    NOT_ASKED(ExecNotificationQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*,
              IWbemObjectSink*)
    NOT_ASKED(ExecMethodAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
              IWbemObjectSink*)
};

using Log = std::vector<std::wstring>;

const std::wstring kQuery =
    L"WQL SELECT * FROM Win32_NetworkAdapterConfiguration WHERE InterfaceIndex=7";

template <class Work>
int run(World& world, Work&& work)
{
    auto* const services = new FakeServices{world};
    const int result = work(*services);
    services->Release();
    EXPECT_EQ(world.living, 0) << "after call " << world.failAt << " has failed";
    return result;
}

int setStatic(IWbemServices& services)
{
    return wmi::setStaticAddress(services, 7, "192.168.0.9", "255.255.0.0");
}

TEST(HostConfiguration, TakesItsStepsInOrder)
{
    World world;
    EXPECT_EQ(run(world, setStatic), 0);
    EXPECT_EQ(
        world.log,
        (Log{L"GetObject Win32_NetworkAdapterConfiguration", L"GetMethod EnableStatic",
             L"SpawnInstance", L"Put IPAddress=192.168.0.9", L"Put SubNetMask=255.255.0.0", kQuery,
             L"Next", L"Get __PATH", L"ExecMethod EnableStatic on the path with arguments"}));
    World dhcp;
    EXPECT_EQ(run(dhcp, [](IWbemServices& services) { return wmi::switchToDhcp(services, 7); }), 0);
    EXPECT_EQ(dhcp.log,
              (Log{kQuery, L"Next", L"Get __PATH", L"ExecMethod EnableDHCP on the path"}));
    World firewire;
    const auto ask = [](IWbemServices& services) { return wmi::isFirewireAdapter(services, 7); };
    EXPECT_EQ(run(firewire, ask), 1);
    EXPECT_EQ(firewire.log.front(),
              L"WQL SELECT ProductName FROM Win32_NetworkAdapter WHERE ProductName='ZEL IEEE1394 "
              L"IP Adapter' AND InterfaceIndex=7");
    firewire.findsNothing = true;
    EXPECT_EQ(run(firewire, ask), 0);
}

TEST(HostConfiguration, ReleasesEverythingWhicheverStepFails)
{
    World whole;
    ASSERT_EQ(run(whole, setStatic), 0);
    for (int step = 1; step <= whole.calls; ++step) {
        World world;
        world.failAt = step;
        EXPECT_EQ(run(world, setStatic), -1);
        EXPECT_EQ(world.calls, step) << "it stops at once";
    }
    for (int step = 1; step <= 4; ++step) {
        World world;
        world.failAt = step;
        EXPECT_EQ(
            run(world, [](IWbemServices& services) { return wmi::switchToDhcp(services, 7); }), -1);
    }
    World none;
    none.findsNothing = true;
    EXPECT_EQ(run(none, setStatic), -1);
}

} // namespace
} // namespace zel::network

#endif
