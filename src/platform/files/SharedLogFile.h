#pragma once

#include <QByteArray>
#include <QString>

// A log file in a directory that all persons at this machine share: they append to the same file.
//
// Only a regular file that has one name is emptied, changed in mode or written to: no symbolic
// link, no hard one. Nothing here reports a failure: a file that is missing or may not be written
// loses the text. Any thread.
namespace SharedLogFile {

// In bytes. A file that a text would make longer loses the older half of its lines first.
inline constexpr qint64 kLimit = 16 * 1024 * 1024;

// Appends in one write, so that lines of several threads and processes stay whole. Makes no file.
// Past the limit the lines of the newer half are moved to the front of the same file. A file that
// another process is doing that to, or that may not be read, only grows; at twice the limit it is
// emptied.
void append(const QString& path, const QByteArray& bytes);

// Empties the file, or makes it, readable and writable for everybody. An existing one is kept: in a
// sticky directory another person's file can't be replaced. Where the name is that of a link or of
// what can't be written, the name is removed, if the directory allows it, and a file made.
void startEmpty(const QString& path);

} // namespace SharedLogFile
