#pragma once

#include <cerrno>
#include <optional>
#include <type_traits>
#include <vector>

// The system's database of accounts and groups. Any thread. Internal to the platform.
namespace AccountDatabase {

// A record, and the memory that its texts lie in.
template <typename Record>
struct Entry {
    Record record = {};
    std::vector<char> buffer;
};

// Calls one of the reentrant functions (getpwnam_r(3) and the like) with the name or ID, and with a
// buffer that is large enough for the entry.
template <typename Record, typename Key>
[[nodiscard]] std::optional<Entry<Record>>
find(int (*call)(Key, Record*, char*, std::size_t, Record**), std::type_identity_t<Key> key)
{
    constexpr std::size_t kLargest = 16 * 1024 * 1024; // groups may have many members
    Entry<Record> entry;
    entry.buffer.resize(1024);
    for (;;) {
        Record* found = nullptr;
        const int error =
            call(key, &entry.record, entry.buffer.data(), entry.buffer.size(), &found);
        if (error == ERANGE && entry.buffer.size() < kLargest) {
            entry.buffer.resize(entry.buffer.size() * 2);
        } else if (error != EINTR) {
            return error == 0 && found != nullptr ? std::optional(std::move(entry)) : std::nullopt;
        }
    }
}

} // namespace AccountDatabase
