#pragma once

class QByteArray;

// The system's journal (systemd-journald), where there is one. Its entries bear the program's name,
// so that "journalctl -t vantoryAgent" finds them.
//
// Follows "Native Journal Protocol" (https://systemd.io/JOURNAL_NATIVE_PROTOCOL/). The socket is
// /run/systemd/journal/socket (see FilePaths). Nothing here waits or reports a failure: without a
// journal, and where it is too busy to take more, the entry is lost. Any thread.
namespace Journal {

enum class Priority { Critical = 2, Error = 3, Information = 6 }; // the levels of syslog (RFC 5424)

// One entry. The message is UTF-8; of a longer one the first 16 KiB are sent.
void send(Priority priority, const QByteArray& message);

// Whether what is written to standard error becomes an entry by itself, as in a service of systemd.
[[nodiscard]] bool takesStandardError();

} // namespace Journal
