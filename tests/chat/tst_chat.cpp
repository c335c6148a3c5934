#include "AgentFixture.h"
#include "chat/ChatController.h"
#include "platform/accounts/Account.h"
#include "records/Intervals.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// One line or member of the chat 5, as the service tells it.
QByteArray told(const char* command, const QString& name, const QString& text = {})
{
    const QJsonObject payload{
        {u"context"_s, 5}, {u"from"_s, name}, {u"member"_s, name}, {u"text"_s, text}};
    return command + QJsonDocument(payload).toJson(QJsonDocument::Compact);
}

QWidgetList windows()
{
    QWidgetList found = QApplication::topLevelWidgets();
    found.removeIf([](QWidget* window) { return window->objectName() != u"ChatController"; });
    return found;
}

template <typename Widget>
Widget* find(const char* name)
{
    return windows().constFirst()->findChild<Widget*>(QLatin1StringView(name));
}

QTextEdit& messages()
{
    return *find<QTextEdit>("Messages");
}

// The transcript, block by block: on the left or the right, "#" for a header, "+" in green, "-" in
// red.
QStringList lines()
{
    QStringList result;
    for (QTextBlock block = messages().document()->begin(); block.isValid(); block = block.next()) {
        const bool isRight = block.blockFormat().alignment().testFlag(Qt::AlignRight);
        const QTextCharFormat format = block.begin().fragment().charFormat();
        QString kind = format.fontWeight() == QFont::Bold ? u"#"_s : QString();
        if (format.hasProperty(QTextFormat::ForegroundBrush)) {
            const QColor colour = format.foreground().color();
            kind = colour.green() > colour.red() ? u"+"_s : u"-"_s;
        }
        result.append((isRight ? u'R' : u'L') + kind + u' ' + block.text());
    }
    return result;
}

void say(const QString& text)
{
    find<QLineEdit>("Message")->setText(text);
    QTest::mouseClick(find<QPushButton>("Send"), Qt::LeftButton);
}

// Waits until the window hears keys.
void listen()
{
    QVERIFY(AgentFixture::waitUntilHeard(windows().constFirst()));
}

} // namespace

// Chats as the service opens and moves them, in windows on a real screen.
class TestChat : public QObject {
    Q_OBJECT

private:
    // An agent with one session, and a chat in it.
    void open(bool mayLeave = true)
    {
        m_agent->options = mayLeave ? "<key>allow_to_leave_chat</key><true/>" : "";
        QVERIFY(m_agent->start());
        Intervals::current().departure = std::chrono::milliseconds(100);
        AppDelegate::addSession({7, u"desk"_s, u"Ann"_s, {}});
        QVERIFY(m_agent->send("request_chat=5,7"));
        QCOMPARE(windows().size(), 1);
        QVERIFY(QTest::qWaitForWindowActive(windows().constFirst()));
        QTRY_COMPARE(lines(), QStringList(u"L+ Ann has joined"_s));
    }

    std::unique_ptr<AgentFixture> m_agent;

private Q_SLOTS:
    void init() { m_agent = std::make_unique<AgentFixture>(); }
    void cleanup()
    {
        m_agent.reset();
        QVERIFY(AppDelegate::state().chats.isEmpty());
        QVERIFY(windows().isEmpty());
    }

    void showsWhoSpeaksAndOnWhichSide()
    {
        open();
        const QString me = Account::fullName();
        struct Entry {
            const char* command; // none: the user sends the text
            QString name;
            QString text;
            QStringList shown;
        };
        QStringList expected = lines();
        for (const Entry& entry : std::initializer_list<Entry>{
                 {"receive_chat=", {}, u"one"_s, {u"L# Session 7"_s, u"L one"_s}},
                 {"receive_chat=", u"\u3164"_s, u"two"_s, {u"L two"_s}},
                 {"chat_joined_member=", u"\u200B"_s, {}, {u"L+ Session 7 has joined"_s}},
                 {"receive_chat=",
                  u"<b>B\nob\u202E"_s,
                  u"<i>\n"_s,
                  {u"L# <b>B ob"_s, u"L <i>\u2028"_s}},
                 {"chat_joined_member=", u"E\nve\u202E"_s, {}, {u"L+ E ve has joined"_s}},
                 {"receive_chat=", u"<b>B\nob\u202E"_s, u"two"_s, {u"L two"_s}},
                 {nullptr, {}, u"שלום"_s, {u"R# "_s + me, u"R שלום"_s}},
                 {nullptr, {}, u"a"_s, {u"R a"_s}},
                 {"receive_chat=", u"יוסי"_s, u"שלום"_s, {u"L# יוסי"_s, u"L שלום"_s}}}) {
            if (entry.command == nullptr) {
                say(entry.text);
            } else {
                QVERIFY(m_agent->send(told(entry.command, entry.name, entry.text)));
            }
            expected += entry.shown;
            QTRY_COMPARE(lines(), expected);
        }
    }

    void sendsWhatIsTyped()
    {
        open();
        auto* const field = find<QLineEdit>("Message");
        QVERIFY(field->hasFocus());
        listen();
        QTest::keyClick(field, Qt::Key_Return);                       // nothing to send
        QTest::keyClicks(field, u"a \"b\" \\#####request=restart"_s); // no message of its own
        QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClicks(field, u"c"_s); // at once behind it, and not along with it
        QTest::keyClick(field, Qt::Key_Enter, Qt::KeypadModifier);
        QTRY_COMPARE(m_agent->sent().size(), 2);
        const QByteArray first = m_agent->sent().constFirst();
        QVERIFY(first.startsWith("#####send_chat={"));
        const QJsonObject expected{{u"token"_s, 5},
                                   {u"message"_s, u"a \"b\" \\#####request=restart"_s}};
        QCOMPARE(QJsonDocument::fromJson(first.mid(15)).object(), expected);

        // Without a link it is shown all the same.
        Client* const client = std::exchange(AppDelegate::client, nullptr);
        say(u"nobody hears"_s);
        QTRY_COMPARE(lines().constLast(), u"R nobody hears"_s);
        AppDelegate::client = client;
    }

    void holdsTheLengthAndLetsCompose()
    {
        open();
        listen();
        auto* const field = find<QLineEdit>("Message");
        field->insert(QString(120, u'a'));
        field->setCursorPosition(3);
        field->insert(QString(20, u'b')); // as a paste does
        QCOMPARE(field->text(), u"aaa"_s + QString(20, u'b') + QString(105, u'a'));
        // A syllable is written down while the next one is being composed: nothing is cut yet.
        QInputMethodEvent composing(u"하"_s, {});
        composing.setCommitString(u"한"_s);
        QApplication::sendEvent(field, &composing);
        QCOMPARE(field->text().size(), 129);
        QInputMethodEvent composed;
        composed.setCommitString(u"하"_s);
        QApplication::sendEvent(field, &composed);
        QCOMPARE(field->text().size(), 128);
        QCOMPARE(field->text().mid(23, 3), u"한하a"_s);
    }

    void closing_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<bool>("mayLeave");
        for (const QString& way : {u"Quit"_s, u"title bar"_s, u"Escape"_s}) {
            QTest::addRow("%s", qPrintable(way)) << way << true;
            QTest::addRow("%s, may not leave", qPrintable(way)) << way << false;
        }
    }
    void closing()
    {
        QFETCH(QString, way);
        QFETCH(bool, mayLeave);
        const bool closes = mayLeave && way != u"Escape";
        open(mayLeave);
        QWidget* const window = windows().constFirst();
        listen();
        if (way == u"Quit") {
            QTest::mouseClick(find<QPushButton>("Quit"), Qt::LeftButton);
        } else if (way == u"title bar") {
            window->windowHandle()->close(); // what the window manager's request comes to
        } else {
            QTest::keyClick(find<QLineEdit>("Message"), Qt::Key_Escape);
        }
        QCOMPARE(window->isVisible(), !closes);
        QCOMPARE(AppDelegate::state().chats.isEmpty(), way == u"Quit" && closes);
        QVERIFY(m_agent->send("close_chat=9")); // everything before has been handled
        QTRY_COMPARE(m_agent->sent(), QByteArrayList(closes ? 1 : 0, "#####close_chat=5"));
        QTRY_COMPARE(windows().size(), AppDelegate::state().chats.size());
    }

    void comesBackAfterItsTitleBar()
    {
        open();
        QWidget* const window = windows().constFirst();
        for (const QByteArray& message :
             {told("receive_chat=", u"Bob"_s, u"seen"_s), told("chat_joined_member=", u"Eve"_s),
              told("chat_left_member=", u"Eve"_s), QByteArray("close_chat=5")}) {
            QVERIFY(window->close());
            QVERIFY(m_agent->send(message));
            QTRY_VERIFY(window->isVisible());
        }
        // The keyboard has not been handed to the button that closes.
        QVERIFY(window->focusWidget() != find<QPushButton>("Quit"));
    }

    void endedByTheService_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("ends");
        QTest::newRow("the chat is closed") << QByteArray("close_chat=5") << true;
        QTest::newRow("its session ends") << QByteArray("disconnected_session=7") << true;
        QTest::newRow("all sessions end") << QByteArray("disconnect_all_sessions") << true;
        QTest::newRow("another chat") << QByteArray("close_chat=6") << false;
        QTest::newRow("another session") << QByteArray("disconnected_session=8") << false;
    }
    void endedByTheService()
    {
        QFETCH(QByteArray, message);
        QFETCH(bool, ends);
        open(false);
        for (const QByteArray& each : {message, message, told("chat_left_member=", u"Bob"_s)}) {
            QVERIFY(m_agent->send(each));
        }
        QTRY_VERIFY(AppDelegate::state().chats.constFirst()->findChildren<QTimer*>().isEmpty());
        QVERIFY(m_agent->send("close_chat=9")); // everything before has been shown
        QCOMPARE(lines().mid(1),                // one departure, whatever else comes
                 QStringList(ends ? u"L- Ann has left"_s : u"L- Bob has left"_s));
        QCOMPARE(find<QPushButton>("Send")->isEnabled(), !ends);
        QCOMPARE(find<QLineEdit>("Message")->isEnabled(), !ends);
        // Leaving is possible now.
        QVERIFY(find<QPushButton>("Quit")->isEnabled());
        QWidget& window = *windows().constFirst();
        QVERIFY(window.windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(window.isVisible());
    }

    void membersComeOnceAndOneGoes()
    {
        open();
        QVERIFY(m_agent->send(told("chat_joined_member=", u"<i>Bob"_s)));
        QVERIFY(m_agent->send(told("chat_joined_member=", u"Ann"_s)));
        QTRY_COMPARE(messages().toolTip(), u"Ann\n<i>Bob"_s);
        QCOMPARE(find<QLabel>("operators")->text(), u"Ann, <i>Bob"_s);
        QVERIFY(m_agent->send(told("chat_left_member=", u"<i>Bob"_s)));
        QVERIFY(!AppDelegate::state().chats.constFirst()->leaved); // not before its time
        QTRY_VERIFY(AppDelegate::state().chats.constFirst()->leaved);
        QTRY_COMPARE(lines().mid(1),
                     QStringList({u"L+ <i>Bob has joined"_s, u"L- <i>Bob has left"_s}));
        QVERIFY(m_agent->send(told("chat_left_member=", u"Eve"_s)));
        QTest::mouseClick(find<QPushButton>("Quit"), Qt::LeftButton);
        QTRY_VERIFY(windows().isEmpty()); // gone when her time comes
    }
};

QTEST_MAIN(TestChat)
#include "tst_chat.moc"
