#include "command_line/Invocation.h"

#include <QTest>

using namespace Qt::StringLiterals;

// What the words of a command line mean, beyond what ./commands tries on the program.
class TestInvocation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void words()
    {
        using Command = Invocation::Command;
        const struct {
            const char* words;
            Command command;
            QString value = {};
        } rows[] = {
            {"port=5 other", Command::Start},
            {"-platform offscreen -session 1a --kept", Command::Start}, // the toolkit's own
            {"port=5 --doctor", Command::Doctor},
            {"--end-session=-7", Command::EndSession, u"-7"_s},
            {"--end-session", Command::WrongUse, u"--end-session"_s},
            {"--help=yes", Command::WrongUse, u"--help"_s},
            {"--status --doctor", Command::WrongUse, u"--doctor"_s},
            {"--status --region staging", Command::WrongUse, u"--region"_s},
            {"--bogus=1 --help", Command::UnknownOption, u"--bogus"_s},
            {"-x", Command::UnknownOption, u"-x"_s},
        };
        for (const auto& [words, command, value] : rows) {
            const Invocation asked = Invocation::of(QString::fromLatin1(words).split(u' '));
            QVERIFY2(asked.command == command && asked.value == value, words);
            QVERIFY2(asked.isKept == QByteArray(words).contains("--kept"), words);
        }
    }
};

QTEST_GUILESS_MAIN(TestInvocation)
#include "tst_invocation.moc"
