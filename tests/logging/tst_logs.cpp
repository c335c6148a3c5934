#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

#include <sys/stat.h>
#include <unistd.h>

#include "logging/Logs.h"

// The two log files.
class TestLogs : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void linesBearTheirTime();
    void filesAreMadeEmptyAndForEverybody();
    void filesThatAreAwayStayAway();
    void nothingElseIsWrittenInto_data();
    void nothingElseIsWrittenInto();
    void linesOfThreadsDoNotTear();

private:
    [[nodiscard]] QString path(const QString& name) const
    {
        return m_root->filePath(QStringLiteral("var/lib/Halvern/vantoryAgent/logs/") + name);
    }
    [[nodiscard]] QByteArray content(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    std::unique_ptr<QTemporaryDir> m_root;
    const QString m_ordinary = QStringLiteral("vantoryAgent.stdout");
    const QString m_errors = QStringLiteral("vantoryAgent.stderr");
};

void TestLogs::init()
{
    m_root = std::make_unique<QTemporaryDir>();
    qputenv("VANTORY_ROOT", QFile::encodeName(m_root->path()));
    QVERIFY(QDir().mkpath(path(QString())));
}

void TestLogs::linesBearTheirTime()
{
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
    printLog(QStringLiteral("one\ntwo"));
    printLog(QString());
    printLog(QStringLiteral("half ") + QChar(0xd800));
    printErrorLog(QStringLiteral("größer"));
    const QByteArray time = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";
    const auto matches = [](const QByteArray& text, const QByteArray& pattern) {
        return QRegularExpression(QString::fromUtf8("\\A" + pattern + "\\z"))
            .match(QString::fromUtf8(text))
            .hasMatch();
    };
    QVERIFY2(matches(content(m_ordinary), time + "one\ntwo\n" + time + "\n"), content(m_ordinary));
    QVERIFY2(matches(content(m_errors), time + "größer\n"), content(m_errors));
}

void TestLogs::filesAreMadeEmptyAndForEverybody()
{
    QFile old(path(m_ordinary));
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("an earlier run") > 0);
    old.close();
    const mode_t mask = ::umask(077);
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
    ::umask(mask);
    for (const QString& name : {m_ordinary, m_errors}) {
        QCOMPARE(content(name), QByteArray());
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(path(name)), &status), 0);
        QCOMPARE(status.st_mode & 0777, mode_t(0666));
    }
}

void TestLogs::filesThatAreAwayStayAway()
{
    printLog(QStringLiteral("dropped"));
    QVERIFY(!QFile::exists(path(m_ordinary)));
    QVERIFY(QDir(path(QString())).removeRecursively());
    LogDestination().cleanUp();
    QVERIFY(!QFile::exists(path(QString())));
}

void TestLogs::nothingElseIsWrittenInto_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("a link to another file") << "link";
    QTest::newRow("a pipe without a reader") << "pipe";
    QTest::newRow("a directory") << "directory";
}

void TestLogs::nothingElseIsWrittenInto()
{
    QFETCH(QString, kind);
    const QByteArray log = QFile::encodeName(path(m_ordinary));
    QFile target(m_root->filePath(QStringLiteral("target")));
    QVERIFY(target.open(QIODevice::WriteOnly) && target.write("precious") > 0);
    target.close();
    if (kind == QLatin1String("link")) {
        QVERIFY(target.link(path(m_ordinary)));
    } else if (kind == QLatin1String("pipe")) {
        QCOMPARE(::mkfifo(log, 0666), 0);
    } else {
        QCOMPARE(::mkdir(log, 0777), 0);
    }
    LogDestination().cleanUp();
    printLog(QStringLiteral("dropped"));
    QVERIFY(target.open(QIODevice::ReadOnly));
    QCOMPARE(target.readAll(), QByteArray("precious"));
}

void TestLogs::linesOfThreadsDoNotTear()
{
    LogDestination().cleanUp();
    const auto write = [] {
        for (int i = 0; i < 500; ++i) {
            printLog(QStringLiteral("a line of a certain length"));
        }
    };
    std::thread other(write);
    write();
    other.join();
    const QList<QByteArray> lines = content(m_ordinary).split('\n');
    QCOMPARE(lines.size(), 1001);
    for (const QByteArray& line : lines.first(1000)) {
        QVERIFY2(line.size() == 50 && line.endsWith(" a line of a certain length"), line);
    }
}

QTEST_GUILESS_MAIN(TestLogs)
#include "tst_logs.moc"
