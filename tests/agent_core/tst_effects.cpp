#include "AgentFixture.h"
#include "records/Intervals.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTextDocument>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

// Writes down, in their order, what the person sees change and what the service hears.
class Journal : public QObject {
public:
    explicit Journal(AgentFixture& agent) : m_agent(agent)
    {
        qApp->installEventFilter(this);
        // It changes together with the icon.
        connect(AppDelegate::state().statusBarMenu->actions().at(2), &QAction::changed, this,
                [this] { add(u"menu "_s + AgentFixture::sessionLists()); });
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (const auto* const transcript = window->findChild<QTextEdit*>(u"Messages"_s)) {
                connect(transcript->document(), &QTextDocument::contentsChanged, this,
                        [this] { add(u"line"_s); });
            }
        }
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const QString name = watched->objectName();
        const bool isWindow = watched->isWidgetType() &&
                              static_cast<QWidget*>(watched)->isWindow() &&
                              (name == u"ConnectionStatus" || name == u"UserAcknowlegement" ||
                               name == u"MessageInbox" || name == u"ChatController");
        if (isWindow && event->type() == QEvent::Show) {
            add(name + u" comes"_s);
        } else if (isWindow && event->type() == QEvent::Hide) {
            add(name + u" goes"_s);
        } else if (name == u"ConnectionStatus" && event->type() == QEvent::Resize) {
            add(u"height %1"_s.arg(static_cast<QWidget*>(watched)->height()));
        } else if (name == u"Send" && event->type() == QEvent::EnabledChange) {
            add(u"chat ends"_s);
        }
        return false;
    }

    QString text()
    {
        hear();
        return m_entries.join(u", "_s);
    }

private:
    void add(const QString& entry)
    {
        hear();
        if (m_entries.isEmpty() || m_entries.constLast() != entry) {
            m_entries.append(entry);
        }
    }

    // What has left for the service until now.
    void hear()
    {
        for (const QByteArray& message : m_agent.sentSoFar().mid(m_heard)) {
            m_entries.append(QString::fromUtf8(message));
            ++m_heard;
        }
    }

    AgentFixture& m_agent;
    QStringList m_entries;
    qsizetype m_heard = 0;
};

constexpr const char* kStatus = R"(status={"accountIsValid":%1,"gateway":"gw","sessionId":"",)"
                                R"("sessions":[{"session":9,"remoteDevice":"desk",)"
                                R"("remoteControlUser":"C"}]})";

QByteArray status(const char* isValid)
{
    return QByteArray(kStatus).replace("%1", isValid);
}

} // namespace

// In which order the parts of an effect come: two sessions, 7 with Ann and 8 with Bob, the status
// window on the screen, and a chat, 5, in session 7.
class TestEffects : public QObject {
    Q_OBJECT

private:
    static QWidget* window(const char* name) { return AgentFixture::topLevel(name); }

    void begin()
    {
        Intervals::current().showConnection = std::chrono::hours(1);
        Intervals::current().departure = std::chrono::milliseconds(1);
        QVERIFY(m_agent->start());
        QVERIFY(m_agent->send("connected_gateway=gw"));
        for (const char* const session : {"7,\"controlName\":\"A\"", "8,\"controlName\":\"B\""}) {
            QVERIFY(m_agent->send("connected_session={\"deviceName\":\"d\",\"session\":" +
                                  QByteArray(session) + '}'));
        }
        QVERIFY(m_agent->send("request_chat=5,7"));
        AppDelegate::state().connectionStatus->present();
        QTRY_VERIFY(window("ConnectionStatus")->height() == 313);
        QVERIFY(QTest::qWaitForWindowExposed(window("ConnectionStatus")));
        m_agent->forget();
    }

    std::unique_ptr<AgentFixture> m_agent;

private Q_SLOTS:
    void init() { m_agent = std::make_unique<AgentFixture>(); }
    void cleanup() { m_agent.reset(); }

    void ofAMessage_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("journal");
        const auto row = [](const QByteArray& message, const char* journal) {
            QTest::newRow(message.constData()) << message << QString::fromLatin1(journal);
        };
        row("connected_gateway=other", "");
        row("disconnected_gateway", ""); // the icon alone changes
        row("disconnected_gateway=why", "");
        row("account_invalid", ""); // the icon is left alone
        row("connected_session={\"session\":9,\"deviceName\":\"d\",\"controlName\":\"C\"}",
            "menu [7A8B9C][7A8B9C]");
        row("disconnected_session=7", "menu [8B][8B], height 233, chat ends, line");
        row("disconnected_session=9", "");
        row("disconnect_all_sessions",
            "menu [][], height 153, ConnectionStatus goes, chat ends, line");
        row(status("true"), "menu [9C][9C], height 233");
        row(status("false"), "");
        row("status=", "");
        row("user_acknowledgement=1;srv;Ann", "UserAcknowlegement comes");
        row("close_acknowledgement", "");
        row(R"(receive_message={"from":"a","text":"b","timeout":0,"icon":1})",
            "MessageInbox comes");
        row("request_chat=6,7", "ChatController comes");
        row("close_chat=5", "ChatController comes, chat ends, line");
        row(R"(receive_chat={"context":5,"from":"A","text":"x"})", "ChatController comes, line");
        row(R"(chat_joined_member={"context":5,"member":"B"})", "ChatController comes, line");
        row(R"(chat_left_member={"context":5,"member":"A"})", "ChatController comes, line");
        row(R"(execute_command={"session":7,"exec":"exit 3"})",
            "#####result_command={ \"session\" : 7, \"status\" : 3 }");
        row(R"(execute_application={"session":-8,"exec":"exit 5"})",
            "#####result_command={ \"session\" : -8, \"status\" : 5 }");
        row("execute_application=x", "#####result_command_failed_to_read");
    }

    void ofAMessage()
    {
        QFETCH(QByteArray, message);
        QFETCH(QString, journal);
        begin();
        if (message.contains("chat") && !message.startsWith("request")) {
            window("ChatController")->hide(); // as the person does by its title bar
        }
        Journal written(*m_agent);
        QVERIFY(m_agent->send(message));
        QTRY_COMPARE(written.text(), journal);
    }

    // The person sees the session gone before the service is told.
    void ofEndingASession()
    {
        begin();
        QElapsedTimer sinceRowsMoved;
        sinceRowsMoved.start();
        QTRY_VERIFY(sinceRowsMoved.hasExpired(700));
        Journal written(*m_agent);
        for (const auto& button : {u"ChatButton2"_s, u"abort"_s}) {
            QTest::mouseClick(window("ConnectionStatus")->findChild<QWidget*>(button),
                              Qt::LeftButton);
        }
        QTRY_COMPARE(
            written.text(),
            u"#####chat_request=8, menu [8B][8B], height 233, chat ends, line, #####close_chat=5, "
            "#####disconnect_session=7"_s);
    }
};

QTEST_MAIN(TestEffects)
#include "tst_effects.moc"
