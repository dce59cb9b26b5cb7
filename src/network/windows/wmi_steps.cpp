#include "wmi_steps.h"

#include <utility>

namespace zel::network::wmi {

namespace {

/// Owns one reference to an object.
template <class Interface>
class Reference {
public:
    Reference() = default;
    Reference(Reference&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Reference& operator=(Reference&&) = delete;
    ~Reference()
    {
        if (m_object)
            m_object->Release();
    }

    Interface** out() { return &m_object; }
    Interface* get() const { return m_object; }
    Interface* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    Interface* m_object = nullptr;
};

/// Owns a text of the system's kind.
class Text {
public:
    explicit Text(const std::wstring& text)
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
    }
    ~Text() { SysFreeString(m_text); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    BSTR get() const { return m_text; }

private:
    const BSTR m_text;
};

/// Owns a value of any kind, arrays and texts in it included.
class Value {
public:
    Value() { VariantInit(&m_value); }
    ~Value() { VariantClear(&m_value); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    /// An array of one text; false when there is no memory.
    bool setTexts(const std::wstring& text)
    {
        SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, 0, 1);
        if (!array)
            return false;
        m_value.vt = VT_ARRAY | VT_BSTR;
        m_value.parray = array;
        const Text element{text};
        LONG index = 0;
        // The array gets a copy of its own.
        return element.get() && SUCCEEDED(SafeArrayPutElement(array, &index, element.get()));
    }

    VARIANT* get() { return &m_value; }
    /// Null when it is no text.
    BSTR text() const { return m_value.vt == VT_BSTR ? m_value.bstrVal : nullptr; }

private:
    VARIANT m_value;
};

constexpr const wchar_t* kConfiguration = L"Win32_NetworkAdapterConfiguration";

std::wstring wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

/// The first object that a query finds; empty where it finds none. False when it cannot be asked.
bool queryFirst(IWbemServices& service, const std::wstring& query,
                Reference<IWbemClassObject>& object)
{
    const Text language{L"WQL"};
    const Text text{query};
    Reference<IEnumWbemClassObject> found;
    if (FAILED(service.ExecQuery(language.get(), text.get(),
                                 WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                 found.out())) ||
        !found)
        return false;
    ULONG count = 0;
    return SUCCEEDED(found->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.out(), &count));
}

/// Executes a method on the configuration of an adapter, with or without arguments.
int execute(IWbemServices& service, std::uint32_t interfaceIndex, const wchar_t* method,
            IWbemClassObject* arguments)
{
    Reference<IWbemClassObject> configuration;
    if (!queryFirst(service,
                    std::wstring{L"SELECT * FROM "} + kConfiguration + L" WHERE InterfaceIndex=" +
                        std::to_wstring(interfaceIndex),
                    configuration) ||
        !configuration)
        return -1;
    Value path;
    if (FAILED(configuration->Get(L"__PATH", 0, path.get(), nullptr, nullptr)) || !path.text())
        return -1;
    const Text name{method};
    return SUCCEEDED(
               service.ExecMethod(path.text(), name.get(), 0, nullptr, arguments, nullptr, nullptr))
               ? 0
               : -1;
}

bool put(IWbemClassObject& arguments, const wchar_t* name, const std::string& text)
{
    Value value;
    return value.setTexts(wide(text)) && SUCCEEDED(arguments.Put(name, 0, value.get(), 0));
}

/// A fresh set of the arguments that a method of the configurations takes.
bool makeArguments(IWbemServices& service, const wchar_t* method,
                   Reference<IWbemClassObject>& arguments)
{
    const Text className{kConfiguration};
    Reference<IWbemClassObject> configurations;
    if (FAILED(service.GetObject(className.get(), 0, nullptr, configurations.out(), nullptr)) ||
        !configurations)
        return false;
    Reference<IWbemClassObject> definition;
    if (FAILED(configurations->GetMethod(method, 0, definition.out(), nullptr)) || !definition)
        return false;
    return SUCCEEDED(definition->SpawnInstance(0, arguments.out())) && arguments;
}

} // namespace

int isFirewireAdapter(IWbemServices& service, std::uint32_t interfaceIndex)
{
    Reference<IWbemClassObject> adapter;
    if (!queryFirst(service,
                    L"SELECT ProductName FROM Win32_NetworkAdapter WHERE ProductName='ZEL IEEE1394 "
                    L"IP Adapter' AND InterfaceIndex=" +
                        std::to_wstring(interfaceIndex),
                    adapter))
        return -1;
    return adapter ? 1 : 0;
}

int setStaticAddress(IWbemServices& service, std::uint32_t interfaceIndex,
                     const std::string& address, const std::string& mask)
{
    Reference<IWbemClassObject> arguments;
    if (!makeArguments(service, L"EnableStatic", arguments) ||
        !put(*arguments.get(), L"IPAddress", address) ||
        !put(*arguments.get(), L"SubNetMask", mask))
        return -1;
    return execute(service, interfaceIndex, L"EnableStatic", arguments.get());
}

int switchToDhcp(IWbemServices& service, std::uint32_t interfaceIndex)
{
    return execute(service, interfaceIndex, L"EnableDHCP", nullptr);
}

} // namespace zel::network::wmi
