#include "logging/Logs.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

#include <sys/stat.h>
#include <unistd.h>

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

    void linesBearTheirTime()
    {
        LogDestination().cleanUp();
        LogErrorDestination().cleanUp();
        printLog(u"one\ntwo"_s);
        printLog(QString());
        printLog(u"half "_s + QChar(0xd800));
        printErrorLog(u"größer"_s);
        const QByteArray time = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";
        const QByteArray text = content(m_ordinary) + content(m_errors);
        const QByteArray lines = time + "one\ntwo\n" + time + "\n" + time + "größer\n";
        const QRegularExpression pattern(QString::fromUtf8("\\A" + lines + "\\z"));
        QVERIFY2(pattern.match(QString::fromUtf8(text)).hasMatch(), text);
    }

    void filesAreMadeEmptyAndForEverybody()
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

    void nothingElseIsWrittenInto()
    {
        printLog(u"dropped"_s); // a file that is away stays away
        QVERIFY(!QFile::exists(path(m_ordinary)));
        QFile target(m_root->filePath(u"target"_s));
        QVERIFY(target.open(QIODevice::WriteOnly) && target.write("precious") > 0);
        target.close();
        QVERIFY(target.link(path(m_ordinary)));
        // A pipe that nobody reads would hold up the program.
        QCOMPARE(::mkfifo(QFile::encodeName(path(m_errors)), 0666), 0);
        LogDestination().cleanUp();
        LogErrorDestination().cleanUp();
        printLog(u"dropped"_s);
        printErrorLog(u"dropped"_s);
        QVERIFY(target.open(QIODevice::ReadOnly));
        QCOMPARE(target.readAll(), QByteArray("precious"));
    }

    void linesOfThreadsDoNotTear()
    {
        LogDestination().cleanUp();
        const auto write = [] {
            for (int i = 0; i < 500; ++i) {
                printLog(u"a line of a certain length"_s);
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

private:
    [[nodiscard]] QString path(const QString& name) const
    {
        return m_root->filePath(u"var/lib/Halvern/vantoryAgent/logs/"_s + name);
    }
    [[nodiscard]] QByteArray content(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    std::unique_ptr<QTemporaryDir> m_root;
    const QString m_ordinary = u"vantoryAgent.stdout"_s;
    const QString m_errors = u"vantoryAgent.stderr"_s;
};

QTEST_GUILESS_MAIN(TestLogs)
#include "tst_logs.moc"
