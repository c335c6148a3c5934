#pragma once

#include "simulator/Voice.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

// The terminal: prints one line for each thing that happens, and reads what is typed, without
// stopping the event loop. There may be a file or a pipe at either end.
class Console : public QObject {
    Q_OBJECT

public:
    explicit Console(QObject* parent = nullptr);
    ~Console() override;

    // Failures go to standard error, everything else to standard output.
    void print(Voice voice, const QString& line);

    // Begins to read standard input.
    void startReading();

Q_SIGNALS:
    void typed(const QString& line);
    void inputEnded();

private:
    void read();

    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_partial; // a line whose end has not been read yet
};
