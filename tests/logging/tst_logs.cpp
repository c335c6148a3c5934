#include "logging/Logs.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cstdio>
#include <functional>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kTime = uR"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )"_s;

bool fill(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("old") > 0;
}

QString content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : u"(no file)"_s;
}

void cleanUp()
{
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
}

// Run in a child: writes a line in each of two zones.
int changeZones(bool hasVariable)
{
    for (const int hours : {3, 9}) {
        if (hasVariable) {
            qputenv("TZ", "XYZ-" + QByteArray::number(hours));
        } else {
            // One fixed offset (tzfile(5), version 1), put in place as timedated does.
            QByteArray offset(4, '\0');
            qToBigEndian(hours * 3600, offset.data());
            const QByteArray zone = "TZif" + QByteArray(32, '\0') +
                                    QByteArray("\0\0\0\1\0\0\0\4", 8) + offset +
                                    QByteArray("\0\0XYZ\0", 6);
            QFile file(u"/etc/new"_s);
            if (!file.open(QIODevice::WriteOnly) || file.write(zone) != zone.size()) {
                return 1;
            }
            file.close();
            std::rename("/etc/new", "/etc/localtime");
        }
        printLog(QString());
        std::printf("%d ", QDateTime::currentDateTime().offsetFromUtc());
    }
    std::fflush(stdout);
    return 0;
}

} // namespace

// The two log files.
class TestLogs : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_root;
    QString m_ordinary;
    QString m_errors;

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root->path()));
        const QString logs = m_root->filePath(u"var/lib/Halvern/vantoryAgent/logs"_s);
        QVERIFY(QDir().mkpath(logs));
        m_ordinary = logs + u"/vantoryAgent.stdout"_s;
        m_errors = logs + u"/vantoryAgent.stderr"_s;
    }

    void linesBeginWithTheTime()
    {
        cleanUp();
        printLog(u"one\ntwo"_s);
        printLog(QString());
        printLog(u"half "_s + QChar(0xd800));
        printErrorLog(u"größer"_s);
        const QRegularExpression lines(u"\\A%1one\ntwo\n%1\n%1größer\n\\z"_s.arg(kTime));
        const QString text = content(m_ordinary) + content(m_errors);
        QVERIFY2(lines.match(text).hasMatch(), qPrintable(text));
    }

    void filesAreMadeEmptyAndForEverybody()
    {
        QVERIFY(fill(m_ordinary));
        const mode_t mask = ::umask(077);
        cleanUp();
        ::umask(mask);
        for (const QString& path : {m_ordinary, m_errors}) {
            struct stat status = {};
            QCOMPARE(::stat(QFile::encodeName(path), &status), 0);
            QCOMPARE(status.st_size, 0);
            QCOMPARE(status.st_mode & 0777, mode_t(0666));
        }
    }

    // A missing file stays missing, what a link names is not changed, and nobody waits for a pipe's
    // reader.
    void nothingElseIsWrittenTo()
    {
        printLog(u"lost"_s);
        QVERIFY(!QFile::exists(m_ordinary));
        const QByteArray log = QFile::encodeName(m_ordinary);
        const QByteArray target = QFile::encodeName(m_root->filePath(u"target"_s));
        const std::pair<const char*, std::function<int()>> kinds[] = {
            {"symbolic link", [&] { return ::symlink(target, log); }},
            {"hard link", [&] { return ::link(target, log); }},
            {"pipe", [&] { return ::mkfifo(log, 0666); }},
        };
        for (const auto& [name, make] : kinds) {
            QVERIFY(fill(QFile::decodeName(target)));
            ::chmod(target, 0640);
            QFile::remove(m_ordinary);
            QVERIFY2(make() == 0, name);
            printLog(u"lost"_s);
            cleanUp();
            printLog(u"written"_s);
            QVERIFY2(content(QFile::decodeName(target)) == u"old", name);
            struct stat status = {};
            QVERIFY2(::stat(target, &status) == 0 && (status.st_mode & 0777) == 0640, name);
            QVERIFY2(content(m_ordinary).endsWith(u"written\n"_s), name);
        }
    }

    void timesFollowTheZone_data()
    {
        QTest::addColumn<bool>("hasVariable"); // TZ; else /etc/localtime, in a name space
        QTest::newRow("variable") << true;
        QTest::newRow("system's file") << false;
    }

    void timesFollowTheZone()
    {
        QFETCH(const bool, hasVariable);
        cleanUp();
        QProcess child;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"TZ"_s);
        child.setProcessEnvironment(environment);
        const QString program = QCoreApplication::applicationFilePath();
        if (hasVariable) {
            child.start(program, {u"--zones"_s, u"variable"_s});
        } else {
            child.start(u"unshare"_s,
                        {u"--user"_s, u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                         u"mount --bind \"$1\" /etc || exit 9; exec \"$0\" --zones file"_s, program,
                         m_root->path()});
        }
        QVERIFY(child.waitForFinished());
        if (!hasVariable && child.exitCode() != 0) {
            QSKIP("name spaces are not allowed here");
        }
        const QStringList lines = content(m_ordinary).split(u'\n');
        QCOMPARE(lines.size(), 3);
        const auto time = [&](int line) {
            return QDateTime::fromString(lines[line].left(19), u"yyyy-MM-dd HH:mm:ss"_s);
        };
        const qint64 apart = time(0).secsTo(time(1)) - 6 * 3600;
        QVERIFY2(apart >= 0 && apart < 60, qPrintable(lines.join(u'|')));
        QCOMPARE(child.readAllStandardOutput(), QByteArray("10800 32400 ")); // the windows' times
    }

    void linesOfThreadsStayWhole()
    {
        cleanUp();
        const auto write = [] {
            for (int i = 0; i < 500; ++i) {
                printLog(u"a line of a certain length"_s);
            }
        };
        std::thread other(write);
        write();
        other.join();
        const QString text = content(m_ordinary);
        const QRegularExpression line(kTime + u"a line of a certain length\n"_s);
        QCOMPARE(text.count(line), 1000);
        QCOMPARE(text.size(), 1000 * 51);
    }
};

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--zones") == 0) {
        return changeZones(qstrcmp(argv[2], "variable") == 0);
    }
    const QCoreApplication application(argc, argv);
    TestLogs test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_logs.moc"
