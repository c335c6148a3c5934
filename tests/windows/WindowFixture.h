#pragma once

#include <memory>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include "agent_core/AppDelegate.h"
#include "agent_core/Intervals.h"
#include "logging/Logs.h"
#include "platform/FilePaths.h"
#include "platform/MainQueue.h"
#include "platform/WindowActivation.h"
#include "service_link/MessageDispatch.h"

// An agent that was not started, with files of its own, linked to a service that the test plays.
// One for each test: it puts the type-wide state back.
class WindowFixture {
public:
    WindowFixture()
    {
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path()));
        QDir().mkpath(logDirectory());
        LogDestination().cleanUp();
        [[maybe_unused]] static const bool isFirst = [] {
            MainQueue::attach();
            WindowActivation::watchInput();
            return true;
        }();
        Intervals::current() = Intervals();
        AppDelegate::language = Language::English;

        QVERIFY(m_server.listen(QHostAddress::LocalHost));
        m_delegate = std::make_unique<AppDelegate>(&MessageDispatch::checkMessage);
        m_client = std::make_unique<Client>(u"127.0.0.1"_qs, m_server.serverPort(),
                                            &MessageDispatch::checkMessage);
        AppDelegate::client = m_client.get();
        m_client->connection.start();
        QVERIFY(m_server.waitForNewConnection(5'000));
        m_service = m_server.nextPendingConnection();
    }

    ~WindowFixture()
    {
        unlink();
        QCoreApplication::processEvents(); // what was posted to the delegate
        m_delegate.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QApplication::setPalette(QPalette());
    }

    void unlink()
    {
        AppDelegate::client = nullptr;
        m_client.reset();
    }

    // One message from the service.
    void send(const QString& message)
    {
        m_service->write(message.toUtf8());
        m_service->flush();
    }

    // Everything that the agent has sent so far.
    QString received() { return QString::fromUtf8(m_received += m_service->readAll()); }

    static QString log()
    {
        QFile file(logDirectory() + u"/vantoryAgent.stdout"_qs);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    // The windows that can be seen, by the name that their interface description bears.
    static QWidgetList windows(const QString& name)
    {
        QWidgetList found = QApplication::topLevelWidgets();
        found.removeIf([&](const QWidget* window) {
            return window->objectName() != name || !window->isVisible();
        });
        return found;
    }

private:
    static QString logDirectory()
    {
        return FilePaths::rooted(FilePaths::applicationSupportDirectory() +
                                 u"/Halvern/vantoryAgent/logs"_qs);
    }

    QTemporaryDir m_root;
    QTcpServer m_server;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<Client> m_client;
    QTcpSocket* m_service = nullptr; // the server's
    QByteArray m_received;
};
