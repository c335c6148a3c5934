#include "NotificationServer.h"
#include "platform/desktop/Notifications.h"
#include "platform/threads/MainQueue.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QTest>

#include <iterator>
#include <list>

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
            notifications.show(Place::Absence, {strange, strange, strange, isOther, isOther});
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

    void calls_data()
    {
        // Steps: "up" starts a server, which takes the former one's place; "silent" lets it answer
        // nothing more, "answer" only its last call, "refuse" that with an error, and "late" is the
        // former one's answer; "click1", "other1" and "close1" are its signals about 1, with "*"
        // another sender's. "Qx" shows "x" at the question's place, and "QX" what stays there; "Q-"
        // withdraws it. "|" waits for the calls, among which "!Q" is a click.
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("calls");
        QTest::addRow("only the newest, one at a time")
            << u"up silent Qx Q- Qy | Qz Q- Qa | answer | Qx Q- Qb | answer | Qc Q- | answer | Qd |"_s
            << u"? | | a>0 | | b>1 | | -1 | d>0 |"_s;
        QTest::addRow("withdrawn, closed, refused")
            << u"up Qa | Q- Q- Qb | close2 | Qc | silent Qd Qe | refuse | "_s
            << u"? a>0 | -1 b>0 | | c>0 | d>3 | -3 e>0 |"_s;
        QTest::addRow("only the server's signals")
            << u"up Sa Qb | click1* close1* other1 click0 click7 | Qc | click1 close1 | Qd |"_s
            << u"? b>0 a>0 | | c>1 | !Q | d>0 |"_s;
        QTest::addRow("servers come and go")
            << u"Qa | up | silent Qb | refuse | Qc | Qd refuse | answer | answer up | Qe |"_s
            << u"| | ? | | ? | ? | d>0 | | ? e>0 |"_s;
        QTest::addRow("the former server answers late")
            << u"up silent Qa | up late | Qb | silent Qc | up late | Qd |"_s
            << u"? | | ? b>0 | c>1 | | ? d>0 |"_s;
        QTest::addRow("the next server shows what stays")
            << u"Sa QB | up | up | close1 | up |"_s << u"| ? B>0 | ? B>0 | | |"_s;
    }

    void calls()
    {
        QFETCH(const QString, steps);
        QFETCH(const QString, calls);
        const QStringList expected = calls.split(u' ');
        QStringList log;
        std::list<NotificationServer> servers;
        Notifications notifications(u"App"_s, {});
        connect(&notifications, &Notifications::activated, this,
                [&](Place place) { log += u'!' + u"QSA"_s[static_cast<int>(place)]; });
        for (const QString& step : steps.split(u' ', Qt::SkipEmptyParts)) {
            if (step == u"|") {
                const auto wanted = expected.indexOf(step, log.lastIndexOf(step) + 1);
                static_cast<void>(QTest::qWaitFor([&] { return log.size() >= wanted; }));
                QTest::qWait(100); // for what must not come
                log += step;
            } else if (step == u"up") {
                if (!servers.empty()) {
                    servers.back().bus.unregisterService(NotificationServer::kService);
                }
                servers.emplace_back(log);
            } else if (step == u"late") {
                std::next(servers.rbegin())->answer();
            } else if (step == u"silent") {
                servers.back().isSilent = true;
            } else if (step == u"answer") {
                servers.back().answer();
            } else if (step == u"refuse") {
                servers.back().bus.send(servers.back().last.createErrorReply(u"org.test.No"_s, {}));
            } else if (step[0].isLower()) {
                auto signal = QDBusMessage::createSignal(
                    NotificationServer::kPath, NotificationServer::kService,
                    step.startsWith(u"close") ? u"NotificationClosed"_s : u"ActionInvoked"_s);
                signal << uint(step[5].digitValue())
                       << (step.startsWith(u"click") ? u"default"_s : u"other"_s);
                (step.endsWith(u'*') ? QDBusConnection::sessionBus() : servers.back().bus)
                    .send(signal);
            } else if (const auto place = Place(u"QSA"_s.indexOf(step[0])); step[1] == u'-') {
                notifications.withdraw(place);
            } else {
                notifications.show(place, {step.sliced(1), {}, {}, false, step[1].isUpper()});
            }
        }
        QCOMPARE(log.join(u' '), calls);
    }
};

QTEST_GUILESS_MAIN(TestNotifications)
#include "tst_notifications.moc"
