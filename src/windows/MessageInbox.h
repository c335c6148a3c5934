#pragma once

#include "localisation/Translate.h"

#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>

#include <memory>

class QTimer;

// The window of one message that was pushed to this machine: who sent it and when it came, its kind
// and text, and the seconds until it closes by itself. Nothing is ever sent back.
//
// Each message has its own. Whoever makes one fills it once, and deletes it when it is closed.
// Main thread.
class MessageInbox : public QObject {
    Q_OBJECT

public:
    MessageInbox(LabelSource labels, QObject* parent);
    ~MessageInbox() override;

    // Fills the window. `timeout` is in seconds, below one the message stays until the person
    // closes it; the kind is one of MessageKind's numbers.
    void set(const QString& from, const QString& text, qint64 timeout, qint64 iconValue);
    // Brings it up beside the other messages, which stand at these places. At first it ignores
    // keys.
    void present(const QList<QPoint>& others);
    [[nodiscard]] QPoint position() const;
    // Whether the person is in its window.
    [[nodiscard]] bool isInUse() const;
    // Says how many messages were closed to make room for later ones; of none nothing is said.
    void setNotShown(qint64 count);

    // Puts one language's texts in place.
    void translate(const JsonData::Info& data);
    // The count-down's tick.
    void changeMessage();
    // Closes the message.
    void stopMessage();
    // The button, and whatever else the person closes it with.
    void QuitAction();

    QPointer<QTimer> timer;
    qint64 timeout = 0; // seconds left
    bool logoChanged = false;

Q_SIGNALS:
    // By the person or by the count-down.
    void closed(bool isByPerson);

private:
    class Window;

    void showCountDown(const JsonData::Info& data);

    const LabelSource m_labels;
    bool m_isClosedByPerson = false;
    std::unique_ptr<Window> m_window;
};
