#pragma once

#include "localisation/Translate.h"
#include "records/SessionInfo.h"
#include "window_kit/AgentWindow.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <array>
#include <optional>

class ElidedLabel;
class QLabel;
class QToolButton;

// The text of a session's clock: "0:07", "0:42", "1:05", "1:02:03", with days before the hours from
// the first day on. None up to the first full second and for a time that no clock shows. Any
// thread.
[[nodiscard]] std::optional<QString> elapsedText(double seconds);

// The small window at the top right of the screen that tells whether the machine is linked and who
// is in session, and in which the user ends a session or asks for a chat.
//
// There is one for the agent's whole life. It takes reports even before it is first shown. It
// has a row for each of its first two sessions. Main thread.
class ConnectionStatus : public AgentWindow<QWidget, class Ui_ConnectionStatus> {
    Q_OBJECT

public:
    static constexpr qsizetype kRows = 2;

    explicit ConnectionStatus(LabelSource labels);

    // Brings the window up because the user asks for it.
    void present();
    // Brings it up because of what the service reports.
    void presentByService();
    // Brings a minimised window back.
    void wakeUp();

    // Puts one language's texts in place, in a window that was shown once; the state's line follows
    // at the next config().
    void translate(const JsonData::Info& labels) override;
    // Moves the window to the top right corner of its screen. Ignores the screen's own origin, on
    // purpose.
    void setPosition();
    // Makes the window high enough for so many sessions: none, one, or two.
    void resizeWindow(qsizetype sessionNumber);
    // Reads the texts and the logo anew.
    void refresh();
    // Adds a session behind the others, unless its number is listed.
    void setConnection(const SessionInfo& sessionInfo);
    void resetConnection(qint64 session);
    [[nodiscard]] const QList<SessionInfo>& sessions() const { return m_sessions; }
    // Redraws the window from what it was given, and starts and stops the clocks.
    void config();

    // The buttons.
    void Abort() { request(&ConnectionStatus::endRequested, 0); }
    void Abort2() { request(&ConnectionStatus::endRequested, 1); }
    void ChatAction() { request(&ConnectionStatus::chatRequested, 0); }
    void ChatAction2() { request(&ConnectionStatus::chatRequested, 1); }
    // The clock's ticks, for each row.
    void inSession() { showTime(m_rows[0]); }
    void inSession2() { showTime(m_rows[1]); }

    QTimer sessionTimer; // of both rows, so that they tick together

    // Given from outside, shown at the next config().
    bool gatewayConnectionStatus = false;
    QString gateway_name; // a tool tip, where `showConnectionDetail`
    bool showConnectionDetail = false;
    std::optional<bool> accountIsValid; // none until the service has said so
    bool isManaged = true;              // who is managed centrally may end sessions
    QSet<qint64> notEnded;              // the user has ended them, the service reports them still
    bool hasUnseenActivity = false;     // while the user was away

Q_SIGNALS:
    // The user wants that session ended, or a chat with its operator.
    void endRequested(qint64 session);
    void chatRequested(qint64 session);
    // The user wants to see what happened.
    void activityRequested();
    void cameUp(); // on the screen

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Shows and means the one session that it was given, if any.
    struct Row {
        std::optional<SessionInfo> session;
        QWidget* place = nullptr; // what holds the others
        QWidget* card = nullptr;
        ElidedLabel* name = nullptr;
        QLabel* timing = nullptr;
        ElidedLabel* note = nullptr; // below the time, or in its place where letters are large
        QToolButton* chat = nullptr;
        QToolButton* abort = nullptr;
    };

    void awakeFromNib();
    [[nodiscard]] std::optional<SessionInfo> sessionAt(qsizetype index) const;
    void leaveButtons();
    void showState();
    void showSession(Row& row, const std::optional<SessionInfo>& session);
    void showTime(const Row& row) const;
    void request(void (ConnectionStatus::*signal)(qint64), std::size_t row);

    JsonData::Info m_texts = englishFallback(); // the last that were read
    QList<SessionInfo> m_sessions;
    std::array<Row, kRows> m_rows; // from the first showing on, as m_ui
    bool m_isToBePlaced = true;
};
