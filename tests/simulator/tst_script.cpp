#include "simulator/AgentLink.h"
#include "simulator/Player.h"
#include "simulator/Script.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// A simulator without its process.
struct Stage {
    explicit Stage(const QString& script) : player(link, Player::OnFailure::Stop, QDir())
    {
        const Script parsed = parseScript(script, u"play"_s);
        if (!parsed.errors.isEmpty() || !link.listen(0)) {
            qFatal("%s", qPrintable(parsed.errors.join(u' ')));
        }
        QObject::connect(&player, &Player::said, [this](Voice voice, const QString& line) {
            if (voice == Voice::Failure) {
                failures += line;
            }
        });
        QObject::connect(&player, &Player::finished, [this](int result) { status = result; });
        for (const Step& step : parsed.steps) {
            player.add(step);
        }
        player.finish();
    }

    AgentLink link;
    Player player;
    QStringList failures;
    std::optional<int> status;
};

} // namespace

class TestScript : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A step that is misread and passed over would let a test pass that tests nothing.
    void everyErrorHasItsPlace()
    {
        const QStringList lines = {u"expct x"_s,         u"wait nan"_s,  u"expect x within -1"_s,
                                   u"expect within 3"_s, u"refuse x"_s,  u"close now"_s,
                                   u"send {\\\"}"_s,     u"send \\x4"_s, u"ignore /(/"_s,
                                   u"screenshot ../x"_s};
        const Script script = parseScript(u"say x\n"_s + lines.join(u'\n'), u"a.script"_s);
        QCOMPARE(script.steps.size(), 1);
        QCOMPARE(script.errors.size(), lines.size());
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QVERIFY(script.errors[i].startsWith(u"a.script:%1: "_s.arg(i + 2)));
        }
    }

    void shownMessageCanBeSentAgain()
    {
        const QByteArray message("a\\n\n\t\x1b[31m\x7f \xC3\xBC=\"\\\"\"");
        const QString shown = scriptText(message);
        QVERIFY(!shown.contains(QChar(0x1b)) && !shown.contains(u'\n'));
        QCOMPARE(parseScriptLine(u"send "_s + shown).step->message, message);
    }

    void play_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QByteArrayList>("writes"); // each is read before the next is made
        QTest::addColumn<bool>("leaves");           // the agent, afterwards
        QTest::addColumn<QString>("failure");       // empty: status 0
        const QByteArray user("#####update_user=J\xC3\xBCrgen"), restart("#####request=restart");
        const auto row = [](const char* name, const char* script, const QByteArrayList& writes,
                            const char* failure = "", bool leaves = false) {
            QTest::newRow(name) << QString::fromUtf8(script) << writes << leaves
                                << QString::fromUtf8(failure);
        };
        row("cut within a character", "expect #####update_user=Jürgen",
            {user.first(19), user.sliced(19)});
        row("cut within a marker", "expect #####update_user=Jürgen\nexpect #####request=restart",
            {user + "###", "##request=", "restart"});
        row("no marker", "expect x\nexpect #####y", {"x#####y"});
        row("something else", "say x\nexpect #####close_chat=1", {restart},
            "play:2: expect #####close_chat=1: instead came \"#####request=restart\"");
        row("nothing", "expect x within 0.1", {}, "nothing came in time");
        row("stays linked", "expect-end within 0.1", {}, "has not left in time");
        row("refused", "refuse /restart/ for 5", {restart}, "\"#####request=restart\" came");
        row("not refused", "refuse /chat/ for 0.2\nexpect /request=r\\w+$/ within 2", {restart});
        row("ignored", "accept\nwait 0.2\nignore /status$/\nexpect #####request=restart",
            {"#####request=connections_status" + restart});
        row("command fails", "run exit 3", {}, "ended with status 3");
        row("command dies", "run kill -9 $$", {}, "by a signal");
        row("closes", "close\nexpect-end", {});
        row("last message is not lost", "expect #####request=restart\nexpect-end", {restart}, "",
            true);
        row("leaves instead", "expect x", {}, "the agent has left", true);
        row("leaves unnoticed", "accept\nwait 0.2", {}, "no step expected it", true);
        row("send to nobody", "expect-end\nsend x", {}, "the agent is not linked", true);
        row("refused, but gone", "refuse x for 5", {}, "nothing could come", true);
    }

    void play()
    {
        QFETCH(const QString, script);
        QFETCH(const QByteArrayList, writes);
        QFETCH(const bool, leaves);
        QFETCH(const QString, failure);
        Stage stage(script);
        const QSignalSpy linked(&stage.link, &AgentLink::linked); // it may be over soon
        QTcpSocket agent;
        agent.connectToHost(QHostAddress::LocalHost, stage.link.port());
        QTRY_COMPARE(linked.count(), 1);
        for (const QByteArray& bytes : writes) {
            agent.write(bytes);
            agent.flush();
            QCoreApplication::processEvents(); // it has arrived, and is read here
        }
        if (leaves) {
            agent.close();
        }
        QTRY_VERIFY(stage.status);
        const QString failures = stage.failures.join(u' ');
        QVERIFY2(failures.contains(failure), qPrintable(failures));
        QCOMPARE(stage.failures.size(), failure.isEmpty() ? 0 : 1);
        QCOMPARE(*stage.status, failure.isEmpty() ? 0 : 1);
    }
};

QTEST_GUILESS_MAIN(TestScript)
#include "tst_script.moc"
