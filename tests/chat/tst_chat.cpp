#include "AgentFixture.h"
#include "chat/ChatController.h"
#include "chat/ChatTranscript.h"
#include "platform/accounts/Account.h"
#include "records/Intervals.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

// One line or member of the chat 5, as the service tells it.
QByteArray told(const char* command, const QString& name, const QString& text = {})
{
    const QJsonObject payload{
        {u"context"_s, 5}, {u"from"_s, name}, {u"member"_s, name}, {u"text"_s, text}};
    return command + QJsonDocument(payload).toJson(QJsonDocument::Compact);
}

} // namespace

// Chats as the service opens and moves them, in windows on a real screen.
class TestChat : public QObject {
    Q_OBJECT

private:
    // An agent with one session, and a chat in it.
    void open(bool mayLeave = true)
    {
        m_agent.reset();
        m_agent = std::make_unique<AgentFixture>();
        m_agent->options = mayLeave ? "<key>allow_to_leave_chat</key><true/>" : "";
        QVERIFY(m_agent->start());
        Intervals::current().departure = std::chrono::milliseconds(100);
        AppDelegate::state().sessions.add({7, u"desk"_s, u"Ann"_s, {}});
        QVERIFY(m_agent->send("request_chat=5,7"));
        m_window = AgentFixture::topLevel("ChatController");
        QVERIFY(QTest::qWaitForWindowActive(m_window));
        m_messages = m_window->findChild<ChatTranscript*>(u"Messages"_s);
        m_bar = m_messages->verticalScrollBar();
        m_field = m_window->findChild<QLineEdit*>(u"Message"_s);
        m_send = m_window->findChild<QPushButton*>(u"Send"_s);
        m_quit = m_window->findChild<QPushButton*>(u"Quit"_s);
        QTRY_COMPARE(lines(), QStringList(u"L Ann has joined"_s));
        QVERIFY(AgentFixture::waitUntilHeard(m_window));
    }

    void append(const QString& text) { m_messages->appendBody(text, true, ChatColour::Text); }

    bool receive(const QString& name, const QString& text)
    {
        return m_agent->send(told("receive_chat=", name, text));
    }

    // How far the end of the text is below the window.
    [[nodiscard]] int distanceToEnd() const
    {
        const qreal height = m_messages->document()->documentLayout()->documentSize().height();
        return qRound(height) - m_messages->viewport()->height() - m_bar->value();
    }

    // The transcript, block by block: on the left or the right, "#" for a header.
    [[nodiscard]] QStringList lines() const
    {
        QStringList result;
        for (QTextBlock block = m_messages->document()->begin(); block.isValid();
             block = block.next()) {
            const bool isRight = block.blockFormat().alignment().testFlag(Qt::AlignRight);
            const bool isBold = block.begin().fragment().charFormat().fontWeight() == QFont::Bold;
            result.append((isRight ? u'R' : u'L') + (isBold ? u"# "_s : u" "_s) + block.text());
        }
        return result;
    }

    std::unique_ptr<AgentFixture> m_agent;
    QPointer<QWidget> m_window;
    ChatTranscript* m_messages = nullptr;
    QLineEdit* m_field = nullptr;
    QPushButton* m_send = nullptr;
    QPushButton* m_quit = nullptr;
    QScrollBar* m_bar = nullptr;

private Q_SLOTS:
    void cleanup()
    {
        m_agent.reset();
        QVERIFY(m_window == nullptr);
    }

    void showsWhoSpeaksAndOnWhichSide()
    {
        open();
        const QString bob = u"<b>\nB\u202E"_s;
        QVERIFY(receive(u"\u3164"_s, u"two"_s) && receive(bob, u"<i>\n"_s));
        QVERIFY(m_agent->send(told("chat_joined_member=", u"E\nve"_s)));
        QVERIFY(receive(bob, u"two"_s));
        for (const QString& text : {u"שלום"_s, u"a"_s}) {
            m_field->setText(text);
            QTest::mouseClick(m_send, Qt::LeftButton);
        }
        QVERIFY(receive(u"יוסי"_s, u"שלום"_s));
        QCOMPARE(lines().mid(1).join(u'|'),
                 u"L# Session 7|L two|L# <b> B|L <i>\u2028|L E ve has joined|L two|R# "_s +
                     Account::fullName() + u"|R שלום|R a|L# יוסי|L שלום"_s);
    }

    void sendsWhatIsTyped()
    {
        open();
        QVERIFY(m_field->hasFocus());
        const QString text = u"a \"b\" \\#####request=restart"_s; // no message of its own
        QTest::keyClick(m_field, Qt::Key_Return);                 // nothing to send
        QTest::keyClicks(m_field, text);
        QTest::keyClick(m_field, Qt::Key_Return);
        QTest::keyClicks(m_field, u"c"_s); // at once behind it, and not along with it
        QTest::keyClick(m_field, Qt::Key_Enter, Qt::KeypadModifier);
        QTRY_COMPARE(m_agent->sent().size(), 2);
        const QByteArray first = m_agent->sent().constFirst();
        QVERIFY(first.startsWith("#####send_chat={"));
        QCOMPARE(QJsonDocument::fromJson(first.mid(15)).object(),
                 QJsonObject({{u"token"_s, 5}, {u"message"_s, text}}));

        // At most 128 characters.
        m_field->insert(QString(120, u'a'));
        m_field->setCursorPosition(3);
        m_field->insert(QString(20, u'b')); // as a paste does
        QCOMPARE(m_field->text(), u"aaa"_s + QString(20, u'b') + QString(105, u'a'));
        // A syllable is written down while the next one is being composed: nothing is cut yet.
        for (const auto& [preedit, size] : {std::pair(u"하"_s, 129), {QString(), 128}}) {
            QInputMethodEvent composing(preedit, {});
            composing.setCommitString(preedit.isEmpty() ? u"하"_s : u"한"_s);
            QApplication::sendEvent(m_field, &composing);
            QCOMPARE(m_field->text().size(), size);
        }
        QCOMPARE(m_field->text().mid(23, 3), u"한하a"_s);
    }

    // Each window sends the last line that it shows.
    void chatsAreApart()
    {
        open();
        QVERIFY(m_agent->send("request_chat=6,7") && receive(u"Bob"_s, u"five"_s));
        QVERIFY(m_agent->send(told("receive_chat=", u"Eve"_s, u"six"_s).replace('5', '6')));
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (auto* const field = window->findChild<QLineEdit*>(u"Message"_s)) {
                QVERIFY(AgentFixture::waitUntilHeard(window));
                field->setText(
                    window->findChild<ChatTranscript*>()->document()->lastBlock().text());
                QTest::keyClick(field, Qt::Key_Return);
            }
        }
        const QByteArray sent = m_agent->takeSent().join();
        QVERIFY(sent.contains(R"(send_chat={"message":"five","token":5})") &&
                sent.contains(R"(send_chat={"message":"six","token":6})"));
    }

    void closing()
    {
        for (const auto& [byQuit, mayLeave] :
             {std::pair(true, true), {false, false}, {false, true}}) {
            open(mayLeave);
            if (byQuit) {
                QTest::mouseClick(m_quit, Qt::LeftButton);
            } else {
                m_window->windowHandle()->close(); // what the window manager's request comes to
            }
            QCOMPARE(m_window->isVisible(), !mayLeave);
            QCOMPARE(m_agent->takeSent(), QByteArrayList(mayLeave ? 1 : 0, "#####close_chat=5"));
            QTRY_COMPARE(m_window == nullptr, byQuit);
        }
        // After its title bar it comes back.
        for (const QByteArray& message :
             {told("receive_chat=", u"Bob"_s, u"seen"_s), told("chat_joined_member=", u"Eve"_s),
              told("chat_left_member=", u"Eve"_s), QByteArray("close_chat=5")}) {
            m_window->close();
            QVERIFY(m_agent->send(message));
            QTRY_VERIFY(m_window->isVisible());
        }
        // The keyboard has not been handed to the button that closes.
        QVERIFY(m_window->focusWidget() != m_quit);
    }

    void endedByTheService()
    {
        for (const char* const message :
             {"close_chat=5", "disconnected_session=7", "disconnect_all_sessions"}) {
            open(false);
            QVERIFY(m_agent->send("close_chat=6") && m_agent->send("disconnected_session=8"));
            QVERIFY(m_send->isEnabled() && m_field->isEnabled() && !m_quit->isEnabled());
            QVERIFY(m_agent->send(message));
            QTRY_COMPARE(lines().mid(1), QStringList(u"L Ann has left"_s));
            QVERIFY(!m_send->isEnabled() && !m_field->isEnabled() && m_quit->isEnabled());
            QVERIFY(m_window->windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint));
        }
    }

    void membersComeOnceAndOneGoes()
    {
        open();
        QVERIFY(m_agent->send(told("chat_joined_member=", u"<i>Bob"_s)));
        QVERIFY(m_agent->send(told("chat_joined_member=", u"Ann"_s)));
        QTRY_COMPARE(m_window->findChild<QLabel*>(u"operators"_s)->text(), u"Ann, <i>Bob"_s);
        QVERIFY(m_agent->send(told("chat_left_member=", u"<i>Bob"_s)));
        QCOMPARE(lines().size(), 2); // not before its time
        QTRY_COMPARE(lines().mid(2), QStringList(u"L <i>Bob has left"_s));
        QVERIFY(m_agent->send(told("chat_left_member=", u"Eve"_s)));
        QTest::mouseClick(m_quit, Qt::LeftButton);
        QTRY_VERIFY(m_window == nullptr); // gone when Eve's time comes
    }

    // At the newest line, or where the user reads.
    void staysInPlace()
    {
        open();
        for (int i = 0; i <= ChatTranscript::kMostLines; ++i) {
            append(u"%1 word"_s.arg(i).repeated(1 + i % 20));
        }
        QCOMPARE(m_messages->document()->blockCount(), ChatTranscript::kMostLines);
        m_messages->resize(280, 370);
        QCOMPARE(distanceToEnd(), 0);
        m_bar->setSliderPosition(m_bar->maximum() * 4 / 5);
        m_messages->selectAll();
        QVERIFY(distanceToEnd() > 100);
        const QTextCursor read = m_messages->cursorForPosition({0, 0});
        const QRect place = m_messages->cursorRect(read);
        append(u"more"_s); // takes a line of the same height away at the other end
        QCOMPARE(m_messages->cursorRect(read), place);
        // Back at the end, new lines are followed again.
        m_messages->appendBody(u"the user's own"_s, false, ChatColour::Text);
        append(u"a\n"_s.repeated(30'000));
        QCOMPARE(distanceToEnd(), 0);
    }

    // Also where a long line was laid out in pieces.
    void copiesWhatWasSaid()
    {
        open();
        const QString text = QString(2'500, u'x') + u"\nlast"_s;
        append(text);
        append(text);
        m_messages->selectAll();
        m_messages->copy();
        QVERIFY(QApplication::clipboard()->text().endsWith(u"\n%1\n%1"_s.arg(text)));
    }
};

QTEST_MAIN(TestChat)
#include "tst_chat.moc"
