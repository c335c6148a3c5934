#pragma once

#include "records/SessionInfo.h"

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
    struct Widgets {
        QWidget* place; // what holds the others
        QLabel* sign;
        ElidedLabel* name;
        QLabel* timing;
        QToolButton* chat;
        QToolButton* abort;
    };
    // Once, when the window is made.
    void setWidgets(const Widgets& widgets);
    // The buttons' texts.
    void translate(const QString& abort, const QString& chat);

    // None for a row without a session. `canEnd`: whether the person may end it.
    void show(const std::optional<SessionInfo>& session, bool canEnd);
    // Writes the elapsed time.
    void tick();

    // The session's number; none for a row without one.
    [[nodiscard]] std::optional<qint64> session() const;

    QTimer sessionTimer; // ticks while there is a session

private:
    std::optional<Widgets> m_widgets;
    std::optional<SessionInfo> m_session;
};
