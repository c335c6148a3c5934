#include "command_line/Invocation.h"

#include <QTest>

using namespace Qt::StringLiterals;

// What the words of a command line mean.
class TestInvocation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void words_data()
    {
        using Command = Invocation::Command;
        QTest::addColumn<Command>("command");
        QTest::addColumn<QString>("value");
        const auto row = [](const char* words, Command command, const QString& value = {}) {
            QTest::newRow(words) << command << value;
        };
        row("", Command::Start);
        row("port=5 other", Command::Start);
        row("-platform offscreen -session 1a port=5", Command::Start); // the toolkit's own
        row("--kept", Command::Start);
        row("--help", Command::Help);
        row("port=5 --doctor", Command::Doctor);
        row("--status --json", Command::Status);
        row("--end-session 7", Command::EndSession, u"7"_s);
        row("--end-session=-7", Command::EndSession, u"-7"_s);
        row("--enrol 123456 --region staging", Command::Enrol, u"123456"_s);
        row("--end-session", Command::WrongUse, u"--end-session"_s);
        row("--help=yes", Command::WrongUse, u"--help"_s);
        row("--status --doctor", Command::WrongUse, u"--doctor"_s);
        row("--json", Command::WrongUse, u"--json"_s);
        row("--status --region staging", Command::WrongUse, u"--region"_s);
        row("--bogus=1 --help", Command::UnknownOption, u"--bogus"_s);
        row("-x", Command::UnknownOption, u"-x"_s);
    }

    void words()
    {
        const QStringList arguments =
            QString::fromUtf8(QTest::currentDataTag()).split(u' ', Qt::SkipEmptyParts);
        const Invocation asked = Invocation::of(arguments);
        QFETCH(const Invocation::Command, command);
        QCOMPARE(asked.command, command);
        QTEST(asked.value, "value");
        QCOMPARE(asked.isKept, arguments.contains(u"--kept"_s));
        QCOMPARE(asked.region, command == Invocation::Command::Enrol ? u"staging"_s : QString());
    }
};

QTEST_GUILESS_MAIN(TestInvocation)
#include "tst_invocation.moc"
