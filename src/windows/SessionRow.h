#pragma once

#include "records/SessionInfo.h"

#include <QString>
#include <QTimer>

#include <optional>

class ElidedLabel;
class QLabel;
class QToolButton;
class QWidget;

// One session's row in the status window: the operator's name, the clock that counts from the
// session's start, and the two buttons. All of them mean the one session that show() was given.
//
// The row exists, and its clock runs, whether or not the window does. Main thread.
class SessionRow {
public:
    SessionRow();

    struct Widgets {
        QWidget* place; // what holds the others
        QWidget* card;
        QLabel* sign;
        ElidedLabel* name;
        QLabel* timing;
        ElidedLabel* note;
        QToolButton* chat;
        QToolButton* abort;
    };
    // Once, when the window is made.
    void setWidgets(const Widgets& widgets);
    // The buttons' texts.
    void translate(const QString& abort, const QString& chat);

    // None for a row without a session. `canEnd`: whether the person may end it. `note` stands
    // below the elapsed time, or in its place where letters are too large for three lines; empty
    // for none.
    void show(const std::optional<SessionInfo>& session, bool canEnd, const QString& note);
    // Writes the elapsed time.
    void tick();
    void stopClock();
    [[nodiscard]] bool isClockRunning() const { return m_isClockRunning; }

    // The session's number; none for a row without one.
    [[nodiscard]] std::optional<qint64> session() const;

    // One of the buttons is pressed. For 600 ms after another session has come into the row
    // presses are dropped; each begins that time anew.
    void press();
    // At the press's end: whether it was heard, and meant the session that is there now.
    [[nodiscard]] bool isPressMeant();

private:
    std::optional<Widgets> m_widgets;
    std::optional<SessionInfo> m_session;
    bool m_isClockRunning = false;
    QTimer m_settling;
    std::optional<qint64> m_pressed; // the session whose button is pressed
};
