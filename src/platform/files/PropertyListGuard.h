#pragma once

#include <QByteArray>

// Whether libplist can be given a property list without harm: it is at most as large as a mebibyte,
// and so is what libplist makes of it, and it has at most a thousand containers.
//
// The preferences directory is open to the administrators' group without a password, and the agent
// of every user at this machine reads the settings file at its start. Two kinds of small files
// would end all these agents. libplist copies an object of a binary list for each reference to it,
// so forty arrays, each holding the next one twice, fill the memory from 400 bytes. And it frees
// containers recursively, so deep ones overflow the stack. Hence the references of a binary list
// are followed here first, as far as the limits allow. Any thread; internal to the platform.
namespace PropertyListGuard {

inline constexpr qsizetype kMaximumSize = 1024 * 1024;

[[nodiscard]] bool isHarmless(const QByteArray& bytes);

} // namespace PropertyListGuard
