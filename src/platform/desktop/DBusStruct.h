#pragma once

#include <QDBusArgument>

#include <tuple>
#include <type_traits>
#include <utility>

// Plain structs as D-Bus structures.
//
// The struct has a static `fields(self)` that ties its members in the order of the signature. It,
// and each list of it that is sent as a value, is registered with qDBusRegisterMetaType. Internal
// to the platform.
template <typename T>
concept DBusStruct = std::is_class_v<decltype(T::fields(std::declval<T&>()))>;

template <DBusStruct T>
QDBusArgument& operator<<(QDBusArgument& argument, const T& value)
{
    argument.beginStructure();
    std::apply([&](const auto&... field) { (argument << ... << field); }, T::fields(value));
    argument.endStructure();
    return argument;
}

template <DBusStruct T>
const QDBusArgument& operator>>(const QDBusArgument& argument, T& value)
{
    argument.beginStructure();
    std::apply([&](auto&... field) { (argument >> ... >> field); }, T::fields(value));
    argument.endStructure();
    return argument;
}
