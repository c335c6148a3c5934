#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

// The two log files of the program: ordinary messages and errors. Each holds one run, or all that
// overlapped; it is emptied when it gets too long (see SharedLogFile).
//
// UTF-8 text, in records: local date and time to the millisecond, a blank, the message, and a line
// feed. In the message a tab follows each line feed, and other control characters, which could
// change what a terminal shows, are written as "\xNN" or "\uNNNN". Nothing here reports a failure:
// where a file is missing or may not be written, the text is lost, and no directory is ever made.
// Any thread.

// A file that text is appended to (see SharedLogFile). One that is removed while the program runs
// is only made again at the next start.
class LogDestination {
public:
    LogDestination();

    // Appends the text as it is. Text that UTF-8 can't hold (half a surrogate pair) is lost.
    void write(const QString& text) const;

    // Empties the file, unless another agent that lives writes it, or makes it. Main thread.
    void cleanUp() const;

protected:
    explicit LogDestination(const QString& name);

private:
    const QString m_path;
};

class LogErrorDestination : public LogDestination {
public:
    LogErrorDestination();
};

void printLog(const QString& message);
// Also an entry of the system's journal, whose lines have no tab before them, unless it may be no
// fault.
enum class ToJournal { No, Yes };
void printErrorLog(const QString& message, ToJournal toJournal = ToJournal::Yes);
// An entry of the system's journal, and no line of a file. Fields of our own have our name.
using JournalFields = QList<std::pair<QByteArray, QString>>;
void printJournal(const QString& message, const JournalFields& fields = {});

// Ends the program where it must not go on: one line on standard error, in the system's journal
// and, once cleanUp() has made the file this run's, in the error log says why, then abort().
[[noreturn]] void fatalState(const QString& why);
