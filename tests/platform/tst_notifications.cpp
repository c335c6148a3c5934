#include "NotificationServer.h"
#include "platform/desktop/Notifications.h"
#include "platform/threads/MainQueue.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

#include <tuple>

using namespace Qt::StringLiterals;
using Place = Notifications::Place;

class TestNotifications : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { MainQueue::attach(); }

    void theServerGetsTheWholeContent()
    {
        for (const bool isOther : {false, true}) {
            QStringList calls;
            NotificationServer server(calls);
            server.capabilities = {isOther ? u"body-markup"_s : u"body"_s};
            Notifications notifications(u"App"_s, u"/icon.png"_s);
            const QString strange = u"<b>a\u0000\"&"_s + QChar(0xD83D); // half of a pair
            notifications.show(Place::Absence, {strange, strange, strange, isOther});
            QTRY_COMPARE(server.last.member(), u"Notify"_s);
            const QString title = u"<b>a\uFFFD\"&?"_s;
            const QString text = isOther ? u"&lt;b&gt;a\uFFFD&quot;&amp;?"_s : title;
            const QVariantMap hints = {{u"urgency"_s, QVariant::fromValue<uchar>(isOther ? 2 : 1)},
                                       {u"desktop-entry"_s, u"vantoryAgent"_s}};
            auto sent = server.last.arguments();
            sent[6] = qdbus_cast<QVariantMap>(sent[6]);
            QCOMPARE(sent,
                     QVariantList({u"App"_s, 0U, u"/icon.png"_s, title, text,
                                   QStringList{u"default"_s, title}, hints, isOther ? 0 : -1}));
        }
    }

    // One call at a time; only the server's signals count, and of its numbers only ours.
    void onlyTheNewestIsShown()
    {
        QStringList calls;
        NotificationServer server(calls);
        Notifications notifications(u"App"_s, {});
        int clicks = 0;
        connect(&notifications, &Notifications::activated, this, [&clicks] { ++clicks; });
        const auto show = [&notifications](const QString& title) {
            notifications.show(Place::Question, {title, {}, {}});
        };
        const QSignalSpy taken(&notifications, &Notifications::taken);
        show(u"a"_s);
        QTRY_COMPARE(taken.size(), 1);
        server.isSilent = true;
        show(u"b"_s);
        show(u"c"_s);
        QTRY_COMPARE(calls.join(u' '), u"? a>0 b>1"_s);
        show(u"d"_s);
        notifications.withdraw(Place::Question);
        show(u"e"_s);
        server.isSilent = false;
        server.answer();
        QTRY_COMPARE(calls.join(u' '), u"? a>0 b>1 e>1"_s);

        const auto other = QDBusConnection::sessionBus();
        for (const auto& [name, id, bus] : {std::tuple(u"ActionInvoked"_s, 1U, other),
                                            {u"NotificationClosed"_s, 1U, other},
                                            {u"ActionInvoked"_s, 7U, server.bus},
                                            {u"ActionInvoked"_s, 1U, server.bus}}) {
            auto message = QDBusMessage::createSignal(NotificationServer::kPath,
                                                      NotificationServer::kService, name);
            bus.send(message << id << u"default"_s);
        }
        QTRY_COMPARE(clicks, 1);
        show(u"f"_s);
        QTRY_COMPARE(calls.last(), u"f>1"_s); // for nobody else's word has closed it
        notifications.withdraw(Place::Question);
        QTRY_COMPARE(calls.last(), u"-1"_s);
    }
};

QTEST_GUILESS_MAIN(TestNotifications)
#include "tst_notifications.moc"
