#pragma once

#include "simulator/Voice.h"

#include <QByteArray>
#include <QObject>

class QSocketNotifier;

// Standard input and output, line by line: a terminal, a file or a pipe. Reading does not stop the
// event loop.
class Console : public QObject {
    Q_OBJECT

public:
    // Failures go to standard error, everything else to standard output.
    void print(Voice voice, const QString& line);

    // Begins to read standard input.
    void startReading();

Q_SIGNALS:
    void typed(const QString& line);
    void inputEnded();

private:
    void read();

    QSocketNotifier* m_notifier = nullptr; // a child
    QByteArray m_partial;                  // a line whose end has not been read yet
};
