#pragma once

#include <array>
#include <memory>
#include <optional>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include "localisation/Translate.h"
#include "service_link/PayloadRecords.h"

using namespace Qt::StringLiterals;

class QTimer;

// The small window at the top right of the screen that tells whether the machine is linked and who
// is in session, and in which the person ends a session or asks for a chat.
//
// The controller lives as long as the agent and takes reports whether or not its window exists; the
// window is made when it is first to be seen. It shows two sessions at the most, a slot each: a
// slot's name and height follow this controller's list, its clock and buttons the agent's, which
// are kept in step. Main thread.
class ConnectionStatus : public QObject {
public:
    ConnectionStatus();
    ~ConnectionStatus() override;

    // Whether the person can see the window: a minimised one is not visible.
    [[nodiscard]] bool isVisible() const;
    // Brings the window up because the person asks for it.
    void present();
    // Brings it up because of what the service reports.
    void presentByService();
    void hide();

    // Puts one language's texts in place; the state's line follows at the next config().
    void translate(const JsonData::Info& data);
    // Moves the window to the top right corner of its screen. Screens' own origins are left out of
    // account: that is meant.
    void setPosition();
    // Makes the window high enough for so many sessions: none, one, or two.
    void resizeWindow(qsizetype sessionNumber);
    // Reads the texts and the logo anew and, if told so, asks the service for the status.
    void refresh(bool check_status);
    // Adds a session behind the others, unless its number is listed.
    void setConnection(const ConnectionInformation& sessionInfo);
    void resetConnection(qint64 session);
    // Brings a minimised window back, later on the main thread.
    void wakeUp();
    // Redraws the window from the current state, and starts and stops the clocks.
    void config();
    [[nodiscard]] bool isAnyClockRunning() const;

    // The buttons.
    void Abort();
    void Abort2();
    void ChatAction();
    void ChatAction2();
    // The clocks' ticks.
    void inSession();
    void inSession2();

    QString gateway_name; // shown as a tool tip only
    QList<ConnectionInformation> sessions;
    // The texts of the agent's state; in English until a label document has been read.
    QString ready = u"Agent ready"_s;
    QString no_gateway = u"No gateway available"_s;
    QString account_invalid = u"Account is blocked or no longer exists"_s;
    std::optional<bool> accountIsValid; // none until the service has said so
    bool logoChanged = false;
    QPointer<QTimer> sessionTimer;
    QPointer<QTimer> sessionTimer2;

    // Points.
    static constexpr int width = 313;
    static constexpr int height = 313; // with two sessions

private:
    class Window;

    Window& window();
    void awakeFromNib();
    void showState();
    [[nodiscard]] QString stateText() const;
    void startClock(qsizetype slot);
    void stopClock(qsizetype slot);
    void showSlots();
    void abortSession(qsizetype slot);
    void requestChat(qsizetype slot);
    void tick(qsizetype slot);
    QPointer<QTimer>& clock(qsizetype slot);

    std::unique_ptr<Window> m_window;
    // Whose time a slot's clock shows.
    std::array<std::optional<qint64>, 2> m_clockSessions;
};
