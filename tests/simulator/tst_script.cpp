#include <memory>
#include <optional>

#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "simulator/AgentLink.h"
#include "simulator/Player.h"
#include "simulator/Script.h"

using Kind = Step::Kind;

namespace {

// The agent's end as a bare socket: only that tells an orderly end from a broken one.
class FakeAgent {
public:
    explicit FakeAgent(quint16 port) : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            qFatal("the simulator does not listen");
        m_notifier = std::make_unique<QSocketNotifier>(m_socket, QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { read(); });
    }
    ~FakeAgent() { close(); }

    void send(const QByteArray& bytes)
    {
        QCOMPARE(::send(m_socket, bytes.constData(), static_cast<size_t>(bytes.size()), 0),
                 bytes.size());
    }
    void close()
    {
        m_notifier.reset();
        if (m_socket >= 0)
            ::close(m_socket);
        m_socket = -1;
    }

    QByteArrayList reads;
    QString end;           // "closed" or "reset", once it has come
    bool closesToo = true; // when the link is closed
    QByteArray lastWords;  // said before that

private:
    void read()
    {
        QByteArray bytes(65536, Qt::Uninitialized);
        const ssize_t count = ::recv(m_socket, bytes.data(), static_cast<size_t>(bytes.size()), 0);
        if (count > 0) {
            reads += bytes.first(count);
            return;
        }
        end = count == 0 ? u"closed"_qs : u"reset"_qs;
        m_notifier->setEnabled(false);
        if (!lastWords.isEmpty())
            send(lastWords);
        if (closesToo)
            close();
    }

    int m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// A simulator without its process.
struct Stage {
    explicit Stage(const QString& script, Player::OnFailure onFailure = Player::OnFailure::Stop)
        : player(link, onFailure, QDir())
    {
        const Script parsed = parseScript(script, u"play"_qs);
        if (!parsed.errors.isEmpty() || !link.listen(0))
            qFatal("%s", qPrintable(parsed.errors.join(u' ')));
        QObject::connect(&player, &Player::said, [this](Voice voice, const QString& line) {
            (voice == Voice::Failure ? failures : lines) += line;
        });
        QObject::connect(&player, &Player::finished, [this](int result) { status = result; });
        for (const Step& step : parsed.steps)
            player.add(step);
        player.finish();
    }

    AgentLink link;
    Player player;
    QStringList lines;
    QStringList failures;
    std::optional<int> status;
};

} // namespace

class TestScript : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void goodLine_data();
    void goodLine();
    void badLine_data();
    void badLine();
    void everyErrorHasItsPlace();
    void fileIsReadFromTheScriptsFolder();
    void typedLine_data();
    void typedLine();
    void shownMessageCanBeSentAgain();

    void play_data();
    void play();
    void sendsAreKeptApart();
    void resetBreaksTheLink();
    void secondAgentIsTurnedAway();
    void typingGoesOnAfterAFailure();
};

void TestScript::goodLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QByteArray>("message"); // what is sent, or what the pattern matches
    QTest::addColumn<int>("time");

    QTest::newRow("default limit")
        << u"expect #####a=b"_qs << Kind::Expect << QByteArray("#####a=b") << 5000;
    QTest::newRow("limit") << u"  expect #####a within 0.25 "_qs << Kind::Expect
                           << QByteArray("#####a") << 250;
    QTest::newRow("limit's word in the text")
        << u"expect a within reach\\x20 within 2"_qs << Kind::Expect
        << QByteArray("a within reach ") << 2000;
    QTest::newRow("regex is searched")
        << u"expect /\\{\"t\":\\d+/"_qs << Kind::Expect << QByteArray("#####x={\"t\":12}") << 5000;
    QTest::newRow("not closed: text")
        << u"expect /x"_qs << Kind::Expect << QByteArray("/x") << 5000;
    QTest::newRow("refuse") << u"refuse /^b/ for 1"_qs << Kind::Refuse << QByteArray("bb") << 1000;
    QTest::newRow("end") << u"expect-end within 3"_qs << Kind::ExpectEnd << QByteArray() << 3000;
    QTest::newRow("accept") << u"accept"_qs << Kind::Accept << QByteArray() << 30000;
    QTest::newRow("wait") << u"wait 1.5"_qs << Kind::Wait << QByteArray() << 1500;
    QTest::newRow("escapes") << u"send a\\n\\t\\\\n\\xC3\\xbc é"_qs << Kind::Send
                             << QByteArray("a\n\t\\n\xC3\xBC \xC3\xA9") << 5000;
    QTest::newRow("no limit in send")
        << u"send a within 2"_qs << Kind::Send << QByteArray("a within 2") << 5000;
}

void TestScript::goodLine()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, message);
    const ParsedLine parsed = parseScriptLine(line);
    QCOMPARE(parsed.error, QString());
    QVERIFY(parsed.step);
    QTEST(parsed.step->kind, "kind");
    QTEST(static_cast<int>(parsed.step->time.count()), "time");
    if (parsed.step->kind == Kind::Send)
        QCOMPARE(parsed.step->message, message);
    else
        QVERIFY(parsed.step->pattern.matches(message));
}

void TestScript::badLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");

    QTest::newRow("unknown") << u"expct x"_qs << u"unknown command \"expct\""_qs;
    QTest::newRow("number") << u"wait nan"_qs << u"not a number of seconds"_qs;
    QTest::newRow("negative") << u"expect x within -1"_qs << u"not a number of seconds"_qs;
    QTest::newRow("no text") << u"expect within 3"_qs << u"usage: expect"_qs;
    QTest::newRow("no time") << u"refuse x"_qs << u"usage: refuse"_qs;
    QTest::newRow("too much") << u"close now"_qs << u"usage: close"_qs;
    QTest::newRow("escape") << u"send {\\\"}"_qs << u"unknown escape"_qs;
    QTest::newRow("half a byte") << u"send \\x4"_qs << u"unknown escape"_qs;
    QTest::newRow("regex") << u"ignore /(/"_qs << u"bad regular expression"_qs;
    QTest::newRow("path as a name") << u"screenshot ../x"_qs << u"not a plain file name"_qs;
    QTest::newRow("no file") << u"sendfile no-such-file"_qs << u"cannot be read"_qs;
}

void TestScript::badLine()
{
    QFETCH(QString, line);
    QFETCH(QString, error);
    const ParsedLine parsed = parseScriptLine(line);
    QVERIFY(!parsed.step);
    QVERIFY2(parsed.error.contains(error), qPrintable(parsed.error));
}

void TestScript::everyErrorHasItsPlace()
{
    const Script script = parseScript(u"# hello\n\nsay x\nwait\n\nsned y\n"_qs, u"a.script"_qs);
    QCOMPARE(script.errors.size(), 2);
    QVERIFY(script.errors[0].startsWith(u"a.script:4: "_qs));
    QVERIFY(script.errors[1].startsWith(u"a.script:6: "_qs));
    QCOMPARE(script.steps.size(), 1);
    QCOMPARE(script.steps[0].place, u"a.script:3"_qs);
}

void TestScript::fileIsReadFromTheScriptsFolder()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"big"_qs));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(65536, 'x'));
    file.close();
    const Script script = parseScript(u"sendfile big"_qs, folder.filePath(u"a.script"_qs));
    QCOMPARE(script.errors, QStringList());
    QCOMPARE(script.steps[0].message, QByteArray(65536, 'x'));
}

void TestScript::typedLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("sent"); // empty: not a text to be sent as it is

    QTest::newRow("text") << u"status={\"a\":\"\\n\"}"_qs << QByteArray("status={\"a\":\"\\n\"}");
    QTest::newRow("a command is its beginning") << u"close_chat=5"_qs << QByteArray("close_chat=5");
    QTest::newRow("command") << u"close"_qs << QByteArray();
    QTest::newRow("wrong command") << u"wait long"_qs << QByteArray();
    QTest::newRow("comment") << u"# x"_qs << QByteArray();
}

void TestScript::typedLine()
{
    QFETCH(QString, line);
    const ParsedLine parsed = parseTypedLine(line);
    QTEST(parsed.step ? parsed.step->message : QByteArray(), "sent");
}

void TestScript::shownMessageCanBeSentAgain()
{
    const QByteArray message("a\\n\n\t\x1b[31m\x7f \xC3\xBC=\"\\\"\"");
    const QString shown = scriptText(message);
    QVERIFY(!shown.contains(QChar(0x1b)));
    QCOMPARE(parseScriptLine(u"send "_qs + shown).step->message, message);
}

void TestScript::play_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArrayList>("writes"); // of the agent, each read before the next is made
    QTest::addColumn<QString>("manner");        // of the agent
    QTest::addColumn<QString>("failure");       // empty: status 0

    const QString stays, leaves = u"leaves"_qs;
    const QByteArray user("#####update_user=J\xC3\xBCrgen"), restart("#####request=restart");
    const QByteArray chat("#####send_chat={\"message\":\"\\\"#####request=restart\"}");

    QTest::newRow("one write, two messages")
        << u"expect #####close_chat=1\nexpect #####request=restart"_qs
        << QByteArrayList{"#####close_chat=1" + restart} << stays << QString();
    QTest::newRow("cut within a character")
        << u"expect #####update_user=Jürgen"_qs << QByteArrayList{user.first(19), user.sliced(19)}
        << stays << QString();
    QTest::newRow("cut within a marker")
        << u"expect #####update_user=Jürgen#\nexpect #####request=restart"_qs
        << QByteArrayList{user + "####", "##request=", "restart"} << stays << QString();
    QTest::newRow("marker typed into a chat")
        << u"expect /^#####send_chat=.*restart\"\\}$/\nexpect #####close_chat=1"_qs
        << QByteArrayList{chat + "#####close_chat=1"} << stays << QString();
    QTest::newRow("unknown text is shown whole")
        << u"expect #####x#####y"_qs << QByteArrayList{"#####x#####y"} << stays << QString();
    QTest::newRow("something else")
        << u"say x\nexpect #####close_chat=1"_qs << QByteArrayList{restart} << stays
        << u"play:2: expect #####close_chat=1: "
           "instead came \"#####request=restart\""_qs;
    QTest::newRow("nothing") << u"expect x within 0.1"_qs << QByteArrayList{} << stays
                             << u"nothing came in time"_qs;
    QTest::newRow("nobody") << u"accept within 0.1"_qs << QByteArrayList{} << u"never comes"_qs
                            << u"no agent came in time"_qs;
    QTest::newRow("last message is not lost") << u"expect #####request=restart\nexpect-end"_qs
                                              << QByteArrayList{restart} << leaves << QString();
    QTest::newRow("leaves instead")
        << u"expect x"_qs << QByteArrayList{} << leaves << u"the agent has left"_qs;
    QTest::newRow("leaves unnoticed")
        << u"accept\nwait 0.2"_qs << QByteArrayList{} << leaves << u"no step expected it"_qs;
    QTest::newRow("send to nobody")
        << u"expect-end\nsend x"_qs << QByteArrayList{} << leaves << u"the agent is not linked"_qs;
    QTest::newRow("message instead of the end")
        << u"expect-end"_qs << QByteArrayList{restart} << leaves << u"instead came"_qs;
    QTest::newRow("stays linked") << u"expect-end within 0.1"_qs << QByteArrayList{} << stays
                                  << u"has not left in time"_qs;
    QTest::newRow("refused") << u"refuse /restart/ for 5"_qs << QByteArrayList{restart} << stays
                             << u"\"#####request=restart\" came"_qs;
    QTest::newRow("not refused") << u"refuse /chat/ for 0.2\nexpect #####request=restart"_qs
                                 << QByteArrayList{restart} << stays << QString();
    QTest::newRow("refused, but gone")
        << u"refuse x for 5"_qs << QByteArrayList{} << leaves << u"nothing could come"_qs;
    QTest::newRow("ignored") << u"ignore /status$/\nexpect #####request=restart"_qs
                             << QByteArrayList{"#####request=connections_status" + restart} << stays
                             << QString();
    QTest::newRow("ignored after it came")
        << u"accept\nwait 0.2\nignore /status$/\nexpect #####request=restart"_qs
        << QByteArrayList{"#####request=connections_status" + restart} << stays << QString();
    QTest::newRow("command fails")
        << u"run exit 3"_qs << QByteArrayList{} << stays << u"ended with status 3"_qs;
    QTest::newRow("command dies") << u"run kill -9 $$"_qs << QByteArrayList{} << stays
                                  << u"by a signal"_qs;
    QTest::newRow("command") << u"run test -n \"$PATH\""_qs << QByteArrayList{} << stays
                             << QString();
    QTest::newRow("close goes on reading") << u"close\nexpect #####request=restart\nexpect-end"_qs
                                           << QByteArrayList{} << u"last words"_qs << QString();
    QTest::newRow("close is not answered") << u"close\nexpect-end"_qs << QByteArrayList{}
                                           << u"never closes"_qs << u"it was not the agent"_qs;
}

void TestScript::play()
{
    QFETCH(QString, script);
    QFETCH(QByteArrayList, writes);
    QFETCH(QString, manner);
    QFETCH(QString, failure);

    Stage stage(script);
    const QSignalSpy linked(&stage.link, &AgentLink::linked); // it may be over soon
    std::optional<FakeAgent> agent;
    if (manner != u"never comes") {
        agent.emplace(stage.link.port());
        agent->closesToo = manner != u"never closes";
        agent->lastWords = manner == u"last words" ? "#####request=restart" : "";
        QTRY_COMPARE(linked.count(), 1);
        for (const QByteArray& bytes : writes) {
            agent->send(bytes);
            QCoreApplication::processEvents(); // it has arrived, and is read here
        }
        if (manner == u"leaves")
            agent->close();
    }
    QTRY_VERIFY(stage.status);
    QVERIFY2(stage.failures.join(u' ').contains(failure), qPrintable(stage.failures.join(u' ')));
    QCOMPARE(stage.failures.size(), failure.isEmpty() ? 0 : 1);
    QCOMPARE(*stage.status, failure.isEmpty() ? 0 : 1);
    if (agent && manner != u"leaves")
        QTRY_COMPARE(agent->end, u"closed"_qs);
}

void TestScript::sendsAreKeptApart()
{
    Stage stage(u"send one\nsend two\nsend three"_qs);
    QList<qint64> times;
    QElapsedTimer clock;
    clock.start();
    connect(&stage.link, &AgentLink::sent, this, [&] { times += clock.nsecsElapsed() / 1000; });
    FakeAgent agent(stage.link.port());
    QTRY_VERIFY(stage.status);
    QCOMPARE(agent.reads, QByteArrayList({"one", "two", "three"}));
    const qint64 gap = std::chrono::microseconds(AgentLink::kSendGap).count();
    QVERIFY(times[1] - times[0] >= gap && times[2] - times[1] >= gap);
}

void TestScript::resetBreaksTheLink()
{
    Stage stage(u"reset"_qs);
    FakeAgent agent(stage.link.port());
    QTRY_COMPARE(agent.end, u"reset"_qs);
    QTRY_COMPARE(stage.status, std::optional(0));
}

void TestScript::secondAgentIsTurnedAway()
{
    Stage stage(u"expect #####request=restart\nsend x\nexpect-end\naccept\nsend y"_qs);
    FakeAgent first(stage.link.port());
    FakeAgent second(stage.link.port());
    QTRY_COMPARE(second.end, u"closed"_qs);
    first.send("#####request=restart");
    QTRY_COMPARE(first.reads, QByteArrayList{"x"});
    first.close();
    QTRY_VERIFY(!stage.link.isLinked());
    FakeAgent third(stage.link.port());
    QTRY_COMPARE(third.reads, QByteArrayList{"y"});
    QTRY_COMPARE(stage.status, std::optional(0));
}

void TestScript::typingGoesOnAfterAFailure()
{
    Stage stage(u"expect x within 0.1\nsend y"_qs, Player::OnFailure::GoOn);
    FakeAgent agent(stage.link.port());
    QTRY_COMPARE(stage.status, std::optional(1));
    QCOMPARE(agent.reads, QByteArrayList{"y"});
}

QTEST_GUILESS_MAIN(TestScript)
#include "tst_script.moc"
