#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>

#include <array>
#include <optional>

class QDBusMessage;

// Notifications of the desktop, a client of freedesktop.org's Desktop Notifications Specification
// 1.2. A desktop without them is no error, and nothing is shown then.
//
// Main thread, which never waits for the bus or for the service; made after MainQueue::attach().
// Each place has at most one call to the service pending. Until its reply, an error or D-Bus's time
// limit of 25 seconds, only the place's newest content is kept; it is sent then.
class Notifications : public QObject {
    Q_OBJECT

public:
    // Each has at most one notification; a new one replaces it.
    enum class Place { Question, Sessions, Absence, Icon };

    struct Content {
        QString title; // both plain text
        QString text;
        QString action; // what a click opens, for services that show a button; empty: nothing
        // Until the user or withdraw() closes it, above full-screen programs where the desktop
        // shows critical ones there; else the service decides.
        bool stays = false;
    };

    Notifications(QString applicationName, QString iconPath);

    void show(Place place, const Content& content) { change(place, content); }
    void withdraw(Place place) { change(place, std::nullopt); }
    // One that stays is shown anew and does not stay.
    void letPass(Place place);
    // Withdraws all, also what the service is just taking in, and waits until it has done so, two
    // fifths of a second at most: the process is about to end.
    void withdrawAll();

Q_SIGNALS:
    // The service has accepted the notification, and shows it by its own rules.
    void taken(Notifications::Place place);
    // The user has clicked the notification.
    void activated(Notifications::Place place);

private Q_SLOTS:
    void receive(const QDBusMessage& signal);

private:
    struct Slot {
        std::optional<Content> content; // the newest; none: withdrawn
        bool isChanged = false;         // since it was last sent
        bool isTried = false;           // waits for the reply about the capabilities
        std::optional<QDBusPendingCall> pending;
        unsigned id = 0; // the service's; 0: not shown
    };

    void watchBus(const QDBusConnection& bus);
    void setServer(const QString& uniqueName);
    void change(Place place, const std::optional<Content>& content);
    void sendChanges();
    void callForCapabilities();
    void notify(Slot& slot);
    QDBusMessage closing(Slot& slot) const;
    void closeShown(Slot& slot);

    const QString m_applicationName;
    const QString m_iconPath;
    std::array<Slot, 4> m_slots; // by Place
    std::optional<QDBusConnection> m_bus;
    QString m_server;                  // its unique name on the bus; empty while there is none
    std::optional<bool> m_takesMarkup; // none until the server has told its capabilities
    bool m_isCallingForCapabilities = false;
    QString m_calledServer; // the one that was called: a reply of Qt 6.8 does not say who sent it
};
