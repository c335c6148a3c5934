#include <csignal>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/BoundedProcess.h"

using std::chrono::milliseconds;

// Real shells under the conditions that the administration starts them in.
class TestBoundedProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lines_data();
    void lines();
    void startsCleanFromAnUncleanProcess();
    void endsAtTheLimit();
    void whatCannotStartSaysSo();

private:
    static ChildProcess::Result bash(const QString& line, const QByteArray& input = {},
                                     milliseconds limit = milliseconds(20'000))
    {
        return BoundedProcess::run(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), line}, input,
                                   limit);
    }

    QTemporaryDir m_directory;
};

void TestBoundedProcess::lines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("status");
    QTest::newRow("success") << ":" << QByteArray() << 0;
    QTest::newRow("failure") << "exit 7" << QByteArray() << 7;
    QTest::newRow("signal") << "kill -TERM $$" << QByteArray() << SIGTERM;
    QTest::newRow("one argument") << "test \"$(echo a 'b  c')\" = 'a b  c'" << QByteArray() << 0;
    QTest::newRow("empty input") << "read -r x" << QByteArray() << 1;
    QTest::newRow("input, then its end")
        << "IFS= read -r x; [ \"$x\" = ' ä\"$ ' ] && ! read -r y" << QByteArray(" ä\"$ \n") << 0;
}

void TestBoundedProcess::lines()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, input);
    QTEST(bash(line, input).status.value_or(-1), "status");
}

void TestBoundedProcess::startsCleanFromAnUncleanProcess()
{
    const mode_t old = ::umask(0);
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &term, nullptr);
    const int leak = ::open("/dev/zero", O_RDONLY);
    const QString file = m_directory.filePath(QStringLiteral("made"));
    const auto result = bash(
        QStringLiteral(
            "set -e; : > '%1'; ! { : < /dev/tty; } 2>/dev/null; ! ls -l /proc/$$/fd | grep zero; "
            "for set in SigIgn SigBlk; do grep -qE \"^$set:\\s0+$\" /proc/self/status; done")
            .arg(file));
    ::close(leak);
    ::pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::umask(old);
    QCOMPARE(result.status.value_or(-1), 0);
    struct stat made = {};
    QCOMPARE(::stat(QFile::encodeName(file), &made), 0);
    QCOMPARE(made.st_mode & 07777, mode_t(0644));
}

void TestBoundedProcess::endsAtTheLimit()
{
    const QString file = m_directory.filePath(QStringLiteral("late"));
    QElapsedTimer clock;
    clock.start();
    const auto result =
        bash(QStringLiteral("trap '' TERM; (sleep 1; : > '%1') & sleep 60").arg(file), {},
             milliseconds(200));
    QVERIFY(!result.status && !result.error.isEmpty());
    QVERIFY(clock.elapsed() < 5'000);
    QTest::qWait(1'300);
    QVERIFY(!QFileInfo::exists(file)); // what it had started went with it
}

void TestBoundedProcess::whatCannotStartSaysSo()
{
    const auto fails = [](const char* program, const QString& argument, const QByteArray& input) {
        const auto result =
            BoundedProcess::run(QLatin1String(program), {argument}, input, milliseconds(5'000));
        return !result.status && !result.error.isEmpty();
    };
    QVERIFY(fails("/nowhere/x", {}, {}));
    QVERIFY(fails("/bin/true", QString(QChar(u'\0')), {}));
    QVERIFY(fails("/bin/true", QString(200'000, u'x'), {}));
    QVERIFY(fails("/bin/true", {}, QByteArray(200'000, 'x')));
}

QTEST_GUILESS_MAIN(TestBoundedProcess)
#include "tst_boundedprocess.moc"
