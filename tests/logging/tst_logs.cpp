#include "logging/Logs.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// The two log files.
class TestLogs : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root->path()));
        QVERIFY(QDir().mkpath(path(QString())));
    }

    void linesBeginWithTheTime()
    {
        cleanUp();
        printLog(u"one\ntwo"_s);
        printLog(QString());
        printLog(u"half "_s + QChar(0xd800));
        printErrorLog(u"größer"_s);
        const QByteArray time = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";
        const QByteArray text = content(path(m_ordinary)) + content(path(m_errors));
        const QByteArray lines = time + "one\ntwo\n" + time + "\n" + time + "größer\n";
        const QRegularExpression pattern(QString::fromUtf8("\\A" + lines + "\\z"));
        QVERIFY2(pattern.match(QString::fromUtf8(text)).hasMatch(), text);
    }

    void filesAreMadeEmptyAndForEverybody()
    {
        QVERIFY(fill(path(m_ordinary)));
        const mode_t mask = ::umask(077);
        cleanUp();
        ::umask(mask);
        for (const QString& name : {m_ordinary, m_errors}) {
            struct stat status = {};
            QCOMPARE(::stat(QFile::encodeName(path(name)), &status), 0);
            QCOMPARE(status.st_size, 0);
            QCOMPARE(status.st_mode & 0777, mode_t(0666));
        }
    }

    // A missing file stays missing, a link is not followed, and nobody waits for a pipe's reader.
    void nothingElseIsWrittenTo()
    {
        printLog(u"lost"_s);
        QVERIFY(!QFile::exists(path(m_ordinary)));
        const QString target = m_root->filePath(u"target"_s);
        QVERIFY(fill(target) && QFile::link(target, path(m_ordinary)));
        QCOMPARE(::mkfifo(QFile::encodeName(path(m_errors)), 0666), 0);
        printLog(u"lost"_s);
        printErrorLog(u"lost"_s);
        cleanUp();
        printLog(u"written"_s);
        QCOMPARE(content(target), QByteArray("old"));
        QVERIFY(content(path(m_ordinary)).endsWith("written\n"));
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
        const QList<QByteArray> lines = content(path(m_ordinary)).split('\n');
        QCOMPARE(lines.size(), 1001);
        for (const QByteArray& line : lines.first(1000)) {
            QVERIFY2(line.size() == 50 && line.endsWith(" a line of a certain length"), line);
        }
    }

private:
    [[nodiscard]] QString path(const QString& name) const
    {
        return m_root->filePath(u"var/lib/Halvern/vantoryAgent/logs/"_s + name);
    }
    static void cleanUp()
    {
        LogDestination().cleanUp();
        LogErrorDestination().cleanUp();
    }
    static bool fill(const QString& file)
    {
        QFile old(file);
        return old.open(QIODevice::WriteOnly) && old.write("old") > 0;
    }
    static QByteArray content(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    std::unique_ptr<QTemporaryDir> m_root;
    const QString m_ordinary = u"vantoryAgent.stdout"_s;
    const QString m_errors = u"vantoryAgent.stderr"_s;
};

QTEST_GUILESS_MAIN(TestLogs)
#include "tst_logs.moc"
