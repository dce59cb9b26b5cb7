#include "hdf5_library.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace zel::acquisition::hdf5 {

namespace {

// Recursive: what unwinds on a failure closes handles.
std::recursive_mutex& libraryMutex()
{
    static auto* const mutex = new std::recursive_mutex; // handles may outlive other statics
    return *mutex;
}

/// Where something went wrong first; the library tells the system's error number by its text.
herr_t remember(unsigned, const H5E_error2_t* error, void* data)
{
    auto& text = *static_cast<std::string*>(data);
    if (text.empty() && error->desc != nullptr)
        text = error->desc;
    return 0;
}

int errorNumberIn(const std::string& text)
{
    constexpr std::string_view kMark = "errno = ";
    const auto found = text.find(kMark);
    int number = 0;
    if (found != std::string::npos)
        std::from_chars(text.data() + found + kMark.size(), text.data() + text.size(), number);
    return number;
}

bool isNoRoom(int error)
{
#ifdef EDQUOT
    if (error == EDQUOT)
        return true;
#endif
    return error == ENOSPC;
}

Handle scalar()
{
    return {"make a space", H5Sclose, [] { return H5Screate(H5S_SCALAR); }};
}

void makeAttribute(const Handle& object, const std::string& name, hid_t type, const void* value)
{
    const Handle space = scalar();
    const Handle attribute{"make an attribute", H5Aclose, [&] {
                               return H5Acreate2(object.id(), name.c_str(), type, space.id(),
                                                 H5P_DEFAULT, H5P_DEFAULT);
                           }};
    call("write an attribute", [&] { return H5Awrite(attribute.id(), type, value); });
}

Handle openAttribute(const Handle& object, const std::string& name)
{
    return {"open an attribute", H5Aclose,
            [&] { return H5Aopen(object.id(), name.c_str(), H5P_DEFAULT); }};
}

void changeValue(const Handle& object, const std::string& name, hid_t type, const void* value)
{
    const Handle attribute = openAttribute(object, name);
    call("write an attribute", [&] { return H5Awrite(attribute.id(), type, value); });
}

/// With its type; both empty where it is not there or no single value.
std::pair<Handle, Handle> findAttribute(const Handle& object, const std::string& name)
{
    if (call("look for an attribute", [&] { return H5Aexists(object.id(), name.c_str()); }) == 0)
        return {};
    Handle attribute = openAttribute(object, name);
    const Handle space{"read an attribute", H5Sclose,
                       [&] { return H5Aget_space(attribute.id()); }};
    if (call("read an attribute", [&] { return H5Sget_simple_extent_npoints(space.id()); }) != 1)
        return {};
    Handle type{"read an attribute", H5Tclose, [&] { return H5Aget_type(attribute.id()); }};
    return {std::move(attribute), std::move(type)};
}

template <class Number>
std::optional<Number> readNumber(const Handle& object, const std::string& name, hid_t as)
{
    const auto [attribute, type] = findAttribute(object, name);
    if (!attribute)
        return {};
    const H5T_class_t kind = call("read an attribute", [&] { return H5Tget_class(type.id()); });
    if (kind != H5T_INTEGER && kind != H5T_FLOAT)
        return {};
    Number value = 0;
    call("read an attribute", [&] { return H5Aread(attribute.id(), as, &value); });
    return value;
}

Handle accessOf(Access access)
{
    Handle list{"prepare a file", H5Pclose, [] { return H5Pcreate(H5P_FILE_ACCESS); }};
    call("prepare a file", [&] {
        hbool_t clears = access == Access::repair;
        // Chunks are written whole, and read once: a cache would only cost memory, 1 MiB for each
        // dataset.
        return std::min({H5Pset_libver_bounds(list.id(), H5F_LIBVER_V110, H5F_LIBVER_V110),
                         H5Pset_cache(list.id(), 0, 1, 0, 1.0),
                         H5Pset_file_locking(list.id(), 0, 1),
                         H5Pset_fclose_degree(list.id(), H5F_CLOSE_STRONG),
                         clears ? H5Pset(list.id(), "clear_status_flags", &clears) : herr_t{0}});
    });
    return list;
}

} // namespace

Turn::Turn()
{
    libraryMutex().lock();
    // A file that could not be closed, for want of room, would crash the process at its end.
    static const bool isLeftAlone = H5dont_atexit() >= 0;
    static_cast<void>(isLeftAlone);
    // What failed is told by exceptions. Each thread has a setting of its own.
    thread_local const bool isQuiet = H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr) >= 0;
    static_cast<void>(isQuiet);
}

Turn::~Turn()
{
    libraryMutex().unlock();
}

void Turn::fail(const std::string& task) const
{
    std::string reason;
    H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, remember, &reason);
    H5Eclear2(H5E_DEFAULT);
    const int number = errorNumberIn(reason);
    if (number != 0)
        reason = std::strerror(number);
    throw Failure("could not " + task + (reason.empty() ? "" : ": " + reason), isNoRoom(number));
}

void Handle::close(const char* task)
{
    if (m_id >= 0)
        call(task, [&] { return m_close(std::exchange(m_id, -1)); });
}

void Handle::drop()
{
    if (m_id < 0)
        return;
    const Turn turn;
    m_close(std::exchange(m_id, -1));
}

Handle createFile(const std::string& name)
{
    const Handle access = accessOf(Access::read);
    return {"create the file", H5Fclose,
            [&] { return H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access.id()); }};
}

Handle openFile(const std::string& name, Access how)
{
    const Handle access = accessOf(how);
    const unsigned flags = how == Access::repair             ? H5F_ACC_RDWR
                           : how == Access::readWhileWritten ? H5F_ACC_RDONLY | H5F_ACC_SWMR_READ
                                                             : H5F_ACC_RDONLY;
    return {"open the file", H5Fclose,
            [&] { return H5Fopen(name.c_str(), flags, access.id()); }};
}

Handle createGroup(const Handle& in, const std::string& name)
{
    Handle creation{"make a group", H5Pclose, [] { return H5Pcreate(H5P_GROUP_CREATE); }};
    // All attributes in the header itself: there they may change while others read.
    call("make a group", [&] { return H5Pset_attr_phase_change(creation.id(), 65535, 0); });
    return {"make a group", H5Gclose, [&] {
                return H5Gcreate2(in.id(), name.c_str(), H5P_DEFAULT, creation.id(), H5P_DEFAULT);
            }};
}

Handle openGroup(const Handle& in, const std::string& name)
{
    return {"open a group", H5Gclose, [&] { return H5Gopen2(in.id(), name.c_str(), H5P_DEFAULT); }};
}

Handle openDataset(const Handle& in, const std::string& name)
{
    return {"open a dataset", H5Dclose,
            [&] { return H5Dopen2(in.id(), name.c_str(), H5P_DEFAULT); }};
}

std::string pathOf(const Handle& object)
{
    const Turn turn;
    const auto length = call("tell a name", [&] { return H5Iget_name(object.id(), nullptr, 0); });
    std::string path(static_cast<std::size_t>(length) + 1, '\0');
    call("tell a name", [&] { return H5Iget_name(object.id(), path.data(), path.size()); });
    path.pop_back();
    return path;
}

std::vector<std::string> namesIn(const Handle& group)
{
    std::vector<std::string> names;
    hsize_t next = 0;
    call("list a group", [&] {
        return H5Literate(
            group.id(), H5_INDEX_NAME, H5_ITER_INC, &next,
            [](hid_t, const char* name, const H5L_info_t* link, void* data) -> herr_t {
                if (link->type == H5L_TYPE_HARD)
                    static_cast<std::vector<std::string>*>(data)->emplace_back(name);
                return 0;
            },
            &names);
    });
    return names;
}

hid_t typeOf(ValueType type)
{
    const Turn turn; // the names stand for calls
    const std::array types{H5T_NATIVE_INT32, H5T_NATIVE_UINT32, H5T_NATIVE_FLOAT,
                           H5T_NATIVE_INT64, H5T_NATIVE_UINT64, H5T_NATIVE_DOUBLE};
    return types.at(static_cast<std::size_t>(type));
}

Handle textType(std::size_t length)
{
    Handle type{"make a type", H5Tclose, [] { return H5Tcopy(H5T_C_S1); }};
    call("make a type", [&] {
        return std::min({H5Tset_size(type.id(), length), H5Tset_cset(type.id(), H5T_CSET_UTF8),
                         H5Tset_strpad(type.id(), H5T_STR_NULLPAD)});
    });
    return type;
}

void setText(const Handle& object, const std::string& name, const std::string& text)
{
    const Handle type = textType(H5T_VARIABLE);
    const char* value = text.c_str();
    makeAttribute(object, name, type.id(), static_cast<const void*>(&value));
}

void setFixedText(const Handle& object, const std::string& name, std::string_view text,
                  std::size_t length)
{
    const Handle type = textType(length);
    std::string value(text);
    value.resize(length);
    makeAttribute(object, name, type.id(), value.data());
}

void setNumber(const Handle& object, const std::string& name, std::int64_t value)
{
    setValue(object, name, typeOf(ValueType::int64), &value);
}

void setNumber(const Handle& object, const std::string& name, std::uint64_t value)
{
    setValue(object, name, typeOf(ValueType::uint64), &value);
}

void setNumber(const Handle& object, const std::string& name, double value)
{
    setValue(object, name, typeOf(ValueType::float64), &value);
}

void setValue(const Handle& object, const std::string& name, hid_t type, const void* value)
{
    makeAttribute(object, name, type, value);
}

void changeText(const Handle& object, const std::string& name, std::string_view text)
{
    const Handle attribute = openAttribute(object, name);
    const Handle type{"read an attribute", H5Tclose, [&] { return H5Aget_type(attribute.id()); }};
    const Turn turn;
    std::string value(text);
    const std::size_t length = H5Tget_size(type.id());
    if (value.size() > length) // whole characters
        while (!value.empty() &&
               (value.size() > length || (static_cast<unsigned char>(text[value.size()]) & 0xC0U) == 0x80U))
            value.pop_back();
    value.resize(length);
    call("write an attribute", [&] { return H5Awrite(attribute.id(), type.id(), value.data()); });
}

void changeNumber(const Handle& object, const std::string& name, std::int64_t value)
{
    changeValue(object, name, typeOf(ValueType::int64), &value);
}

void changeNumber(const Handle& object, const std::string& name, std::uint64_t value)
{
    changeValue(object, name, typeOf(ValueType::uint64), &value);
}

void changeNumber(const Handle& object, const std::string& name, double value)
{
    changeValue(object, name, typeOf(ValueType::float64), &value);
}

std::optional<std::string> textOf(const Handle& object, const std::string& name)
{
    const auto [attribute, type] = findAttribute(object, name);
    if (!attribute)
        return {};
    const Turn turn;
    if (H5Tget_class(type.id()) != H5T_STRING)
        return {};
    std::string text;
    if (H5Tis_variable_str(type.id()) > 0) {
        char* value = nullptr;
        const Handle as = textType(H5T_VARIABLE);
        call("read an attribute",
             [&] { return H5Aread(attribute.id(), as.id(), static_cast<void*>(&value)); });
        text = value != nullptr ? value : "";
        H5free_memory(value);
        return text;
    }
    text.resize(H5Tget_size(type.id()));
    const Handle as = textType(text.size());
    call("read an attribute", [&] { return H5Aread(attribute.id(), as.id(), text.data()); });
    text.resize(std::min(text.size(), text.find('\0')));
    return text;
}

std::optional<std::int64_t> numberOf(const Handle& object, const std::string& name)
{
    return readNumber<std::int64_t>(object, name, typeOf(ValueType::int64));
}

std::optional<std::uint64_t> countOf(const Handle& object, const std::string& name)
{
    return readNumber<std::uint64_t>(object, name, typeOf(ValueType::uint64));
}

std::optional<double> realOf(const Handle& object, const std::string& name)
{
    return readNumber<double>(object, name, typeOf(ValueType::float64));
}

std::vector<std::string> attributesOf(const Handle& object)
{
    std::vector<std::string> names;
    hsize_t next = 0;
    call("list attributes", [&] {
        return H5Aiterate2(
            object.id(), H5_INDEX_NAME, H5_ITER_INC, &next,
            [](hid_t, const char* name, const H5A_info_t*, void* data) -> herr_t {
                static_cast<std::vector<std::string>*>(data)->emplace_back(name);
                return 0;
            },
            &names);
    });
    return names;
}

std::uint64_t sizeOf(const Handle& dataset)
{
    const Handle space{"read a dataset", H5Sclose, [&] { return H5Dget_space(dataset.id()); }};
    const Turn turn;
    hsize_t size = 0;
    if (H5Sget_simple_extent_ndims(space.id()) != 1 ||
        H5Sget_simple_extent_dims(space.id(), &size, nullptr) != 1)
        throw Failure("a dataset has not just one dimension", false);
    return size;
}

void read(const Handle& dataset, hid_t type, std::uint64_t begin, std::size_t count, void* into)
{
    if (count == 0)
        return;
    const hsize_t from = begin;
    const hsize_t size = count;
    const Handle memory{"read a dataset", H5Sclose,
                        [&] { return H5Screate_simple(1, &size, nullptr); }};
    const Handle file{"read a dataset", H5Sclose, [&] { return H5Dget_space(dataset.id()); }};
    call("read a dataset", [&] {
        return H5Sselect_hyperslab(file.id(), H5S_SELECT_SET, &from, nullptr, &size, nullptr);
    });
    call("read a dataset", [&] {
        return H5Dread(dataset.id(), type, memory.id(), file.id(), H5P_DEFAULT, into);
    });
}

} // namespace zel::acquisition::hdf5
