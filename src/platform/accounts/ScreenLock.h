#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QDBusConnection;
namespace Bus {
class Signals;
}

// Tells when the screen of the program's own session is locked and unlocked: logind's LockedHint
// (org.freedesktop.login1(5), on the system bus) of ConsoleSession::ownSession().
//
// Main thread, which never waits for the bus or for logind; made after MainQueue::attach(). The
// last known state stays while logind is away, and when it answers with an error or not with a
// boolean; it is asked again at each change and when it is back. Without a system bus, or where
// logind names no session within half a minute after the start, the screen is never locked.
class ScreenLock : public QObject {
    Q_OBJECT

public:
    explicit ScreenLock(QObject* parent = nullptr);
    ~ScreenLock() override;

    // False until known.
    [[nodiscard]] bool isLocked() const { return m_isLocked; }

Q_SIGNALS:
    void changed(bool isLocked);

private:
    void findSession();
    void watch(const QDBusConnection& bus, const QString& session);
    void askForState();

    int m_attemptsLeft = 10;
    QString m_session;                      // its object path
    std::unique_ptr<QDBusConnection> m_bus; // none until the session is known
    std::unique_ptr<Bus::Signals> m_changes;
    bool m_isAsking = false;
    bool m_isOutdated = false; // a signal came after the question that is under way
    bool m_isLocked = false;
    const std::shared_ptr<void> m_self = std::make_shared<char>(); // ends with this object
};
