#pragma once

#include <QByteArray>
#include <QList>

#include <utility>

// The system's journal (systemd-journald), where there is one. Its entries bear the program's name,
// so that "journalctl -t vantoryAgent" finds them.
//
// Follows "Native Journal Protocol" (https://systemd.io/JOURNAL_NATIVE_PROTOCOL/). The socket is
// /run/systemd/journal/socket (see FilePaths). Nothing here waits or reports a failure: without a
// journal, and where it is too busy to take more, the entry is lost. Any thread.
namespace Journal {

enum class Priority { Critical = 2, Error = 3, Information = 6 }; // the levels of syslog (RFC 5424)

// The names of fields and their values, "MESSAGE" among them. The values are UTF-8; of a longer one
// the first 16 KiB are sent.
using Fields = QList<std::pair<QByteArray, QByteArray>>;
// One entry.
void send(Priority priority, const Fields& fields);

// Whether what is written to standard error becomes an entry by itself, as in a service of systemd.
[[nodiscard]] bool takesStandardError();

} // namespace Journal
