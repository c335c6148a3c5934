#pragma once

#include <QByteArray>
#include <QString>

// A log file in a directory that all users of the machine share: they append to the same file.
//
// Only a regular file that has one name, and that everybody may read and write, counts as a log:
// whoever can put such a file in place could change it as well. Nothing here reports a failure: a
// file that is missing or is no log loses the text. Any thread.
namespace SharedLogFile {

// In bytes.
inline constexpr qint64 kLimit = 16 * 1024 * 1024;

// Appends in one write, so that lines of several threads and processes stay whole. Makes no file. A
// log that would become longer than the limit is emptied first, and begins with `firstLine()`; one
// that belongs neither to root nor to the user is not emptied, and loses the text. If several
// threads or processes reach the limit at once, only the last one's text may be left.
void append(const QString& path, const QByteArray& bytes, QByteArray (*firstLine)());

// Empties the log, if it is root's or the user's and no other process that has begun to write it
// lives. Makes it where the name is free.
void begin(const QString& path);

} // namespace SharedLogFile
