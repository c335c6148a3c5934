#pragma once

#include "localisation/Translate.h"
#include "records/SessionInfo.h"
#include "windows/SessionRow.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <array>
#include <memory>
#include <optional>

// The small window at the top right of the screen that tells whether the machine is linked and who
// is in session, and in which the person ends a session or asks for a chat.
//
// The controller lives as long as the agent and takes reports whether or not its window exists; the
// window is made when it is first to be seen. It shows the first two of its sessions, a row each.
// Main thread.
class ConnectionStatus : public QObject {
    Q_OBJECT

public:
    explicit ConnectionStatus(LabelSource labels);
    ~ConnectionStatus() override;

    // Whether the person can see the window: a minimised one is not visible.
    [[nodiscard]] bool isVisible() const;
    // Brings the window up because the person asks for it.
    void present();
    // Brings it up because of what the service reports.
    void presentByService();
    // Brings a minimised window back.
    void wakeUp();
    void hide();

    // Puts one language's texts in place; the state's line follows at the next config().
    void translate(const JsonData::Info& data);
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
    [[nodiscard]] bool isAnyClockRunning() const;

    // The buttons.
    void Abort();
    void Abort2();
    void ChatAction();
    void ChatAction2();
    // The clock's ticks, for each row.
    void inSession();
    void inSession2();

    QTimer sessionTimer; // of both rows, so that they tick together

    // Given from outside, shown at the next config().
    bool gatewayConnectionStatus = false;
    QString gateway_name; // a tool tip, where `showConnectionDetail`
    bool showConnectionDetail = false;
    std::optional<bool> accountIsValid; // none until the service has said so
    bool isManaged = true;              // who is managed centrally may end sessions
    QSet<qint64> notEnded;              // the person has ended them, the service reports them still
    bool hasUnseenActivity = false;     // while the person was away

    // The texts of the agent's state; in English until a label document has been read.
    QString ready;
    QString no_gateway;
    QString account_invalid;
    bool logoChanged = false;

    // Points.
    static constexpr int width = 313;
    static constexpr int height = 313; // with two sessions

Q_SIGNALS:
    // The person wants that session ended, or a chat with its operator.
    void endRequested(qint64 session);
    void chatRequested(qint64 session);
    // The person wants to see what happened.
    void activityRequested();

private:
    class Window;

    Window& window();
    void awakeFromNib();
    void showState();
    void showActivityButton();
    void showRows();
    [[nodiscard]] QString stateText() const;
    void abortSession(std::size_t row);
    void requestChat(std::size_t row);
    void tick(std::size_t row);

    const LabelSource m_labels;
    QList<SessionInfo> m_sessions;
    std::array<SessionRow, 2> m_rows;
    QString m_notEnded;
    QString m_activityTitle;
    QString m_awayTitle;
    std::unique_ptr<Window> m_window;
};
