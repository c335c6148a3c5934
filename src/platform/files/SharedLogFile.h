#pragma once

#include <QByteArray>
#include <QString>

// A log file in a directory that all persons at this machine share: they append to the same file.
//
// Only a regular file that has one name is emptied, changed in mode or written to: no symbolic
// link, no hard one. Nothing here reports a failure: a file that is missing or may not be written
// loses the text. Any thread.
namespace SharedLogFile {

// In bytes.
inline constexpr qint64 kLimit = 16 * 1024 * 1024;

// Appends in one write, so that lines of several threads and processes stay whole. Makes no file. A
// log that would become longer than the limit is emptied first, and begins with `firstLine()`.
void append(const QString& path, const QByteArray& bytes, QByteArray (*firstLine)());

// Empties the file, or makes it, readable and writable for everybody. An existing one is kept: in a
// sticky directory another person's file can't be replaced. Where the name is that of a link or of
// what can't be written, the name is removed, if the directory allows it, and a file made.
void startEmpty(const QString& path);

} // namespace SharedLogFile
