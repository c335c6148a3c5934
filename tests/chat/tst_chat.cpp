#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>

#include "AgentFixture.h"
#include "agent_core/Intervals.h"
#include "chat/ChatController.h"
#include "platform/Account.h"
#include "windows/Contrast.h"

namespace {

// How a block stands in the transcript: "L" or "R", "#" for a header, "+" and "-" for notices.
QString described(const QTextBlock& block)
{
    const Qt::Alignment alignment = block.blockFormat().alignment();
    const QTextCharFormat characters = block.begin().fragment().charFormat();
    QString text = alignment == (Qt::AlignLeft | Qt::AlignAbsolute)    ? u"L"_qs
                   : alignment == (Qt::AlignRight | Qt::AlignAbsolute) ? u"R"_qs
                                                                       : u"?"_qs;
    if (characters.fontWeight() == QFont::Bold && characters.fontPointSize() == 14.0) {
        text += u'#';
    }
    if (characters.hasProperty(QTextFormat::ForegroundBrush)) {
        const QColor colour = characters.foreground().color();
        text += colour.green() > colour.red() ? u'+' : u'-';
    }
    return text + u' ' + block.text();
}

QByteArray message(const char* command, const QJsonObject& payload)
{
    return command + QJsonDocument(payload).toJson(QJsonDocument::Compact);
}

QByteArray line(const QString& from, const QString& text)
{
    return message("receive_chat=", {{u"context"_qs, 5}, {u"from"_qs, from}, {u"text"_qs, text}});
}

QByteArray joins(const QString& name, int token = 5)
{
    return message("chat_joined_member=", {{u"context"_qs, token}, {u"member"_qs, name}});
}

QByteArray leaves(const QString& name)
{
    return message("chat_left_member=", {{u"context"_qs, 5}, {u"member"_qs, name}});
}

// The chats' windows, in the order in which they came up.
QWidgetList windows()
{
    QWidgetList found = QApplication::topLevelWidgets();
    found.removeIf([](QWidget* window) { return window->objectName() != u"ChatController"; });
    std::sort(found.begin(), found.end(),
              [](const QWidget* a, const QWidget* b) { return a->x() < b->x(); });
    return found;
}

template <typename Widget>
Widget* find(const char* name)
{
    return windows().constFirst()->findChild<Widget*>(QLatin1String(name));
}

QTextEdit& messages()
{
    return *find<QTextEdit>("Messages");
}

QStringList lines()
{
    QStringList result;
    for (QTextBlock block = messages().document()->begin(); block.isValid(); block = block.next()) {
        result.append(described(block));
    }
    return result;
}

void press(const char* button)
{
    QTest::mouseClick(find<QPushButton>(button), Qt::LeftButton);
}

void say(const QString& text)
{
    find<QLineEdit>("Message")->setText(text);
    press("Send");
}

// Waits until the window hears keys.
void listen()
{
    auto* const field = find<QLineEdit>("Message");
    QTRY_VERIFY((QTest::keyClick(field, Qt::Key_X), !field->text().isEmpty()));
    field->clear();
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
        AppDelegate::addSession({7, u"desk"_qs, u"Ann"_qs, {}});
        QVERIFY(m_agent->send("request_chat=5,7"));
        QCOMPARE(windows().size(), 1);
        QVERIFY(QTest::qWaitForWindowExposed(windows().constFirst()));
        QTRY_COMPARE(lines(), QStringList(u"L+ Ann has joined"_qs));
    }

    QByteArrayList sentAboutChats()
    {
        QByteArrayList result = m_agent->sent();
        result.removeIf([](const QByteArray& sent) { return !sent.contains("_chat="); });
        return result;
    }

    std::unique_ptr<AgentFixture> m_agent;

private Q_SLOTS:
    void init() { m_agent = std::make_unique<AgentFixture>(); }
    void cleanup()
    {
        m_agent.reset();
        QVERIFY(AppDelegate::chats.isEmpty());
        QVERIFY(windows().isEmpty());
    }

    void transcript_data()
    {
        QTest::addColumn<QStringList>("said"); // "name: text"; "me" is the person, "+" a joining
        QTest::addColumn<QStringList>("shown");
        const QString me = u"R# "_qs + Account::fullName();

        QTest::newRow("one header for two lines")
            << QStringList{u"Bob: one"_qs, u"Bob: two"_qs}
            << QStringList{u"L# Bob"_qs, u"L one"_qs, u"L two"_qs};
        QTest::newRow("a notice changes no speaker")
            << QStringList{u"Bob: one"_qs, u"+: Eve"_qs, u"Bob: two"_qs}
            << QStringList{u"L# Bob"_qs, u"L one"_qs, u"L+ Eve has joined"_qs, u"L two"_qs};
        QTest::newRow("speakers in turn")
            << QStringList{u"Bob: one"_qs, u"me: two"_qs, u"me: three"_qs, u"Eve: four"_qs}
            << QStringList{u"L# Bob"_qs,  u"L one"_qs,  me,          u"R two"_qs,
                           u"R three"_qs, u"L# Eve"_qs, u"L four"_qs};
        QTest::newRow("nobody speaks") << QStringList{u": one"_qs} << QStringList{u"L one"_qs};
        QTest::newRow("markup is text")
            << QStringList{u"<b>B</b>: <a href='x'>&lt;</a>"_qs}
            << QStringList{u"L# <b>B</b>"_qs, u"L <a href='x'>&lt;</a>"_qs};
        QTest::newRow("right to left")
            << QStringList{u"יוסי: שלום"_qs, u"me: שלום"_qs, u"+: דנה"_qs}
            << QStringList{u"L# יוסי"_qs, u"L שלום"_qs, me, u"R שלום"_qs, u"L+ דנה has joined"_qs};
        QTest::newRow("names stay in their line")
            << QStringList{u"B\nob\u202E: one\ntwo"_qs, u"+: E\nve\u202E"_qs}
            << QStringList{u"L# B ob"_qs, u"L one\u2028two"_qs, u"L+ E ve has joined"_qs};
    }
    void transcript()
    {
        QFETCH(QStringList, said);
        QFETCH(QStringList, shown);
        open();
        for (const QString& entry : said) {
            const QString name = entry.section(u": "_qs, 0, 0);
            const QString text = entry.section(u": "_qs, 1);
            const qsizetype before = lines().size();
            if (name == u"me") {
                say(text);
            } else {
                QVERIFY(m_agent->send(name == u"+" ? joins(text) : line(name, text)));
            }
            QTRY_VERIFY(lines().size() > before);
        }
        QTRY_COMPARE(lines(), QStringList(u"L+ Ann has joined"_qs) + shown);
    }

    void sendsWhatIsTyped()
    {
        open();
        QVERIFY(QTest::qWaitForWindowActive(windows().constFirst()));
        auto* const field = find<QLineEdit>("Message");
        QVERIFY(field->hasFocus());
        // As it was typed into another window when this one jumped up.
        QTest::keyClicks(field, u"secret"_qs);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(field->text().isEmpty());
        listen();
        QTest::keyClick(field, Qt::Key_Return); // nothing to send
        QTest::keyClicks(field, u"a \"b\""_qs);
        QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClicks(field, u"c"_qs); // at once behind it, and not along with it
        QTest::keyClick(field, Qt::Key_Enter, Qt::KeypadModifier);
        field->setText(u"d"_qs);
        messages().setFocus();
        QTest::keyClick(&messages(), Qt::Key_Return);
        QTRY_COMPARE(sentAboutChats().size(), 3);
        QVERIFY(field->text().isEmpty());
        const QByteArray first = sentAboutChats().constFirst();
        QVERIFY(first.startsWith("#####send_chat={"));
        const QJsonObject expected{{u"token"_qs, 5}, {u"message"_qs, u"a \"b\""_qs}};
        QCOMPARE(QJsonDocument::fromJson(first.mid(15)).object(), expected);

        // Without a link it is shown all the same.
        Client* const client = std::exchange(AppDelegate::client, nullptr);
        say(u"nobody hears"_qs);
        QTRY_COMPARE(lines().constLast(), u"R nobody hears"_qs);
        AppDelegate::client = client;
        QCOMPARE(sentAboutChats().size(), 3);
    }

    void holdsTheLengthAndLetsCompose()
    {
        open();
        auto* const field = find<QLineEdit>("Message");
        field->insert(QString(120, u'a'));
        field->setCursorPosition(3);
        field->insert(QString(20, u'b')); // as a paste does
        QCOMPARE(field->text(), u"aaa"_qs + QString(20, u'b') + QString(105, u'a'));
        QCOMPARE(field->cursorPosition(), 23);

        // A syllable is written down while the next one is being composed: nothing is cut yet.
        QInputMethodEvent composing(u"하"_qs, {});
        composing.setCommitString(u"한"_qs);
        QApplication::sendEvent(field, &composing);
        QCOMPARE(field->text().size(), 129);
        QInputMethodEvent composed;
        composed.setCommitString(u"하"_qs);
        QApplication::sendEvent(field, &composed);
        QCOMPARE(field->text().size(), 128);
        QCOMPARE(field->text().mid(23, 3), u"한하a"_qs);
        QCOMPARE(field->cursorPosition(), 25);
    }

    void closing_data()
    {
        QTest::addColumn<bool>("mayLeave");
        QTest::addColumn<QString>("way");
        QTest::addColumn<bool>("closes");
        QTest::addColumn<bool>("staysListed");
        QTest::newRow("Quit") << true << "Quit" << true << false;
        QTest::newRow("title bar") << true << "title bar" << true << true;
        QTest::newRow("Escape") << true << "Escape" << false << true;
        QTest::newRow("Quit, may not leave") << false << "Quit" << false << true;
        QTest::newRow("title bar, may not leave") << false << "title bar" << false << true;
        QTest::newRow("Escape, may not leave") << false << "Escape" << false << true;
    }
    void closing()
    {
        QFETCH(bool, mayLeave);
        QFETCH(QString, way);
        QFETCH(bool, closes);
        open(mayLeave);
        QWidget* const window = windows().constFirst();
        QCOMPARE(find<QPushButton>("Quit")->isEnabled(), mayLeave);
        QCOMPARE(window->windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint), mayLeave);
        listen();
        if (way == u"Quit") {
            press("Quit");
        } else if (way == u"title bar") {
            window->windowHandle()->close(); // what the window manager's request comes to
        } else {
            QTest::keyClick(find<QLineEdit>("Message"), Qt::Key_Escape);
        }
        QCOMPARE(window->isVisible(), !closes);
        QTEST(!AppDelegate::chats.isEmpty(), "staysListed");
        QVERIFY(m_agent->send("close_chat=9")); // everything before has been handled
        QTRY_COMPARE(sentAboutChats(),
                     closes ? QByteArrayList{"#####close_chat=5"} : QByteArrayList());
        QCOMPARE(m_agent->log().contains(u"close chat: 5"_qs), closes);
        QTRY_COMPARE(windows().size(), AppDelegate::chats.size());
    }

    void comesBackAfterItsTitleBar()
    {
        open();
        QWidget* const window = windows().constFirst();
        const QPoint place = window->pos();
        QVERIFY(window->close());
        AppDelegate::chats.constFirst()->receiveChat(u"Bob"_qs, u"not woken"_qs);
        QVERIFY(m_agent->send(line(u"Bob"_qs, u"seen"_qs)));
        QTRY_COMPARE(lines().mid(1), QStringList({u"L# Bob"_qs, u"L seen"_qs}));
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_COMPARE(window->pos(), place);
        say(u"again"_qs);
        QTRY_VERIFY(sentAboutChats().constLast().contains("again"));

        window->showMinimized();
        QTRY_VERIFY(!AppDelegate::chats.constFirst()->isVisible());
        QVERIFY(m_agent->send(line(u"Bob"_qs, u"up"_qs)));
        QTRY_COMPARE(lines().constLast(), u"L up"_qs);
        QTRY_VERIFY(!window->isMinimized());
        QVERIFY(window->close());
        QVERIFY(m_agent->send("close_chat=5"));
        QTRY_VERIFY(window->isVisible());
        QTRY_COMPARE(lines().constLast(), u"L- Ann has left"_qs);
        // The keyboard has not been handed to the button that closes.
        QVERIFY(window->focusWidget() != find<QPushButton>("Quit"));
        QCOMPARE(sentAboutChats().count("#####close_chat=5"), 2);
    }

    void oneTokenSeveralWindows()
    {
        open();
        QVERIFY(m_agent->send("request_chat=6,7"));
        QVERIFY(m_agent->send("request_chat=5,8"));
        QVERIFY(m_agent->send(line(u"Bob"_qs, u"both"_qs)));
        const auto haveLine = [] {
            QList<bool> result;
            for (const QWidget* const window : windows()) {
                const auto* const text = window->findChild<QTextEdit*>(u"Messages"_qs);
                result.append(text->toPlainText().contains(u"both"_qs));
            }
            return result;
        };
        QTRY_COMPARE(haveLine(), QList<bool>({true, false, true}));
        press("Quit");
        QCOMPARE(AppDelegate::chats.size(), 1);
        QCOMPARE(AppDelegate::chats.constFirst()->token, 6);
        QTRY_COMPARE(windows().size(), 1);
        QTRY_COMPARE(sentAboutChats(), QByteArrayList{"#####close_chat=5"});
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
        QTest::newRow("no token") << QByteArray("close_chat=five") << false;
    }
    void endedByTheService()
    {
        QFETCH(QByteArray, message);
        QFETCH(bool, ends);
        open(false);
        QVERIFY(m_agent->send(message));
        QVERIFY(m_agent->send(message));
        QVERIFY(m_agent->send(leaves(u"Bob"_qs)));
        QTRY_VERIFY(AppDelegate::chats.constFirst()->findChildren<QTimer*>().isEmpty());
        QVERIFY(m_agent->send("close_chat=9")); // everything before has been shown
        QCOMPARE(lines().size(), 2);            // one departure, whatever else comes
        QCOMPARE(lines().constLast(), ends ? u"L- Ann has left"_qs : u"L- Bob has left"_qs);
        QCOMPARE(find<QPushButton>("Send")->isEnabled(), !ends);
        QCOMPARE(find<QPushButton>("Send")->shortcut().isEmpty(), ends);
        QCOMPARE(find<QLineEdit>("Message")->isEnabled(), !ends);
        // Leaving is possible now.
        QVERIFY(find<QPushButton>("Quit")->isEnabled());
        QWidget& window = *windows().constFirst();
        QVERIFY(window.windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(window.isVisible());
        QVERIFY(sentAboutChats().isEmpty());
    }

    void membersComeOnceAndOneGoes()
    {
        open();
        QVERIFY(m_agent->send(joins(u"<i>Bob"_qs)));
        QVERIFY(m_agent->send(joins(u"Ann"_qs)));
        QVERIFY(m_agent->send(joins(u"Eve"_qs, 6)));
        QTRY_COMPARE(messages().toolTip(), u"Ann\n<i>Bob"_qs);
        QPalette dark = messages().palette();
        dark.setColor(QPalette::Base, QColor(0x20, 0x20, 0x20));
        messages().setPalette(dark);
        const QTextBlock notice = messages().document()->begin();
        const QColor colour = notice.begin().fragment().charFormat().foreground().color();
        QVERIFY(Contrast::ratio(colour, dark.color(QPalette::Base)) >= 4.5);
        QVERIFY(m_agent->send(leaves(u"<i>Bob"_qs)));
        QVERIFY(!AppDelegate::chats.constFirst()->leaved); // not before its time
        QVERIFY(m_agent->send(leaves(u"Ann"_qs)));
        QTRY_VERIFY(AppDelegate::chats.constFirst()->leaved);
        QTRY_VERIFY(AppDelegate::chats.constFirst()->findChildren<QTimer*>().isEmpty());
        QVERIFY(m_agent->send("close_chat=9"));
        QCOMPARE(lines().mid(1),
                 QStringList({u"L+ <i>Bob has joined"_qs, u"L- <i>Bob has left"_qs}));
        QCOMPARE(messages().toolTip(), u"Ann"_qs);
        QVERIFY(m_agent->send(leaves(u"Eve"_qs)));
        press("Quit"); // the window is gone when her time comes
        QTRY_VERIFY(windows().isEmpty());
    }

    void followsTheNewestLine()
    {
        open();
        QScrollBar* const bar = messages().verticalScrollBar();
        for (int i = 0; i < 40; ++i) {
            AppDelegate::receiveChat({5, u"Bob"_qs, u"line\nof two"_qs});
        }
        QTRY_COMPARE(lines().size(), 42);
        QTRY_VERIFY(bar->maximum() > 0 && bar->value() == bar->maximum());
        windows().constFirst()->resize(360, 340);
        QTRY_VERIFY(messages().viewport()->height() < 260);
        QTRY_COMPARE(bar->value(), bar->maximum());

        bar->setValue(10); // the person reads
        AppDelegate::receiveChat({5, u"Bob"_qs, u"one more"_qs});
        QTRY_COMPARE(lines().size(), 43);
        QCOMPARE(bar->value(), 10);
        say(u"mine"_qs);
        QTRY_COMPARE(lines().size(), 45);
        QCOMPARE(bar->value(), bar->maximum());
    }

    void copiesPlainText()
    {
        open();
        // It comes in several turns of the event loop, and what follows stays behind it.
        const QString endless = QString(30'000, u'a') + u'\n' + u"<b>"_qs.repeated(10'000);
        QVERIFY(m_agent->send(line(u"Bob"_qs, endless)));
        QVERIFY(m_agent->send(line(u"Bob"_qs, u"end"_qs)));
        const QString whole = u"Ann has joined\nBob\n"_qs + endless + u"\nend"_qs;
        const auto copied = [] {
            messages().copy();
            return QGuiApplication::clipboard()->text();
        };
        QTRY_VERIFY((messages().selectAll(), copied() == whole));
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasHtml());
        // What is selected stays so when a line comes.
        QVERIFY(m_agent->send(line(u"Bob"_qs, u"more"_qs)));
        QTRY_COMPARE(lines().constLast(), u"L more"_qs);
        QVERIFY(copied() == whole);
    }
};

QTEST_MAIN(TestChat)
#include "tst_chat.moc"
