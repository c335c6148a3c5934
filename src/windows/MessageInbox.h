#pragma once

#include "localisation/Translate.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>
#include <QString>
#include <QTimer>

// The window of one message that was pushed to this machine: who sent it and when it came, its kind
// and text, and the seconds until it closes by itself. Nothing is ever sent back.
//
// Each message has its own. Whoever makes one fills it once, and deletes it when it is closed.
// Main thread.
class MessageInbox : public AgentWindow<QDialog, class Ui_MessageInbox> {
    Q_OBJECT

public:
    explicit MessageInbox(LabelSource labels);

    // Fills the window. `timeout` is in seconds, below one the message stays until the user closes
    // it. Kinds are numbered: 1 information, 2 question, 3 caution, 4 stop; any other number is a
    // message of no kind.
    void set(const QString& from, const QString& text, qint64 timeout, qint64 iconValue);
    // Brings it up beside the other messages. At first it ignores keys.
    void present();
    // Says how many messages were closed in favour of later ones; says nothing if none were.
    void setNotShown(qint64 count);

    // Puts one language's texts in place.
    void translate(const JsonData::Info& labels) override;
    // The count-down's tick.
    void changeMessage();
    // Closes the message.
    void stopMessage();
    // The button, and whatever else the user closes it with.
    void QuitAction();
    void reject() override { QuitAction(); }

    QTimer timer;
    qint64 timeout = 0; // seconds left

Q_SIGNALS:
    // By the user or by the count-down.
    void closed(bool isByUser);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showColour();
    void fitToText();
    void growToNeed(int more = 0);

    qint64 m_kind = 0;
    qint64 m_notShown = 0;
    bool m_isClosedByUser = false;
};
