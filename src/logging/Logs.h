#pragma once

#include <QString>

// The two log files of the program: ordinary messages and errors. Each holds exactly one run.
//
// UTF-8 text, one record a line: local date and time to the millisecond, a blank, the message as it
// is. Nothing here ever fails visibly: a file that is missing or may not be written drops the text,
// and no directory is ever made. Any thread.

// A file that text is appended to. It is opened anew for each text, so a file that is taken away
// while the program runs stays away until the next start.
class LogDestination {
public:
    LogDestination();

    // Appends the text as it is. Text that UTF-8 cannot hold (half a surrogate pair) is dropped.
    void write(const QString& text) const;

    // Empties the file, or makes it, readable and writable for everybody: the persons who share the
    // machine share the file. One that exists is kept and emptied, since in a sticky directory
    // another person's file can't be replaced.
    void cleanUp() const;

protected:
    explicit LogDestination(const QString& pathBelowApplicationSupport);

private:
    const QString m_path;
};

class LogErrorDestination : public LogDestination {
public:
    LogErrorDestination();
};

void printLog(const QString& message);
void printErrorLog(const QString& message);

// For a state that the program must not go on in: says why in one line in the error log and on
// standard error, then aborts.
[[noreturn]] void fatalState(const QString& why);
