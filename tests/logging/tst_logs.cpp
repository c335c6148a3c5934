#include "logging/Logs.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

#include <sys/stat.h>

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

    // A missing file stays missing, a link is not followed, and nobody waits for a pipe's reader.
    void nothingElseIsWrittenTo()
    {
        printLog(u"lost"_s);
        QVERIFY(!QFile::exists(m_ordinary));
        const QString target = m_root->filePath(u"target"_s);
        QVERIFY(fill(target) && QFile::link(target, m_ordinary));
        QCOMPARE(::mkfifo(QFile::encodeName(m_errors), 0666), 0);
        printLog(u"lost"_s);
        printErrorLog(u"lost"_s);
        cleanUp();
        printLog(u"written"_s);
        QCOMPARE(content(target), u"old"_s);
        QVERIFY(content(m_ordinary).endsWith(u"written\n"_s));
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

QTEST_GUILESS_MAIN(TestLogs)
#include "tst_logs.moc"
