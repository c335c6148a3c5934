#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "service_link/AllowedSettings.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

namespace {

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

// The words of the link, payloads and files, without a link.
class TestWords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void integers_data();
    void integers();
    void messageRecords_data();
    void messageRecords();
    void statusRecords_data();
    void statusRecords();
    void firstWords_data();
    void firstWords();
    void commandStatuses_data();
    void commandStatuses();
    void allowedSettings_data();
    void allowedSettings();
};

void TestWords::integers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("wide"); // empty: none
    QTest::addColumn<QString>("narrow");

    QTest::newRow("plain") << "42"
                           << "42"
                           << "42";
    QTest::newRow("leading zeros") << "007"
                                   << "7"
                                   << "7";
    QTest::newRow("signs") << "+5"
                           << "5"
                           << "5";
    QTest::newRow("negative") << "-5"
                              << "-5"
                              << "-5";
    QTest::newRow("largest narrow") << "2147483647"
                                    << "2147483647"
                                    << "2147483647";
    QTest::newRow("beyond narrow") << "2147483648"
                                   << "2147483648"
                                   << "";
    QTest::newRow("smallest") << "-9223372036854775808"
                              << "-9223372036854775808"
                              << "";
    QTest::newRow("beyond wide") << "9223372036854775808"
                                 << ""
                                 << "";
    for (const char* const bad : {"", "-", "+-5", " 5", "5 ", "5\n", "5.0", "1e3", "0x10", "1,000",
                                  "\u0665", "\uff15", "5a"}) {
        QTest::newRow(bad) << QString::fromUtf8(bad) << ""
                           << "";
    }
}

void TestWords::integers()
{
    QFETCH(QString, text);
    const auto wide = Protocol::parseInteger64(text);
    const auto narrow = Protocol::parseInteger32(text);
    QTEST(wide ? QString::number(*wide) : QString(), "wide");
    QTEST(narrow ? QString::number(*narrow) : QString(), "narrow");
}

void TestWords::messageRecords_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<bool>("decodes");
    QTest::addColumn<qint64>("timeout");

    const auto row = [](const char* name, const QString& timeout, bool decodes, qint64 value = 0) {
        QTest::newRow(name)
            << QStringLiteral(R"({"from":"a","text":"b","icon":1,"timeout":%1})").arg(timeout)
            << decodes << value;
    };
    row("integer", QStringLiteral("3"), true, 3);
    row("integral fraction", QStringLiteral("3.0"), true, 3);
    row("exponent", QStringLiteral("3e2"), true, 300);
    row("exact beyond a double's digits", QStringLiteral("9007199254740993"), true,
        9007199254740993);
    row("largest", QStringLiteral("9223372036854775807"), true, 9223372036854775807);
    row("smallest", QStringLiteral("-9223372036854775808"), true,
        std::numeric_limits<qint64>::min());
    row("beyond range", QStringLiteral("9223372036854775808"), false);
    row("far beyond range", QStringLiteral("1e300"), false);
    row("fraction", QStringLiteral("3.5"), false);
    row("string", QStringLiteral("\"3\""), false);
    row("boolean", QStringLiteral("true"), false);
    row("null", QStringLiteral("null"), false);
    row("list", QStringLiteral("[3]"), false);
    QTest::newRow("unknown key") << R"({"from":"a","text":"b","icon":1,"timeout":3,"x":{}})" << true
                                 << qint64(3);
    QTest::newRow("missing key") << R"({"from":"a","text":"b","timeout":3})" << false << qint64(0);
    for (const char* const bad : {"", "null", "[]", "\"text\"", "{", "{}",
                                  "{\"from\":", R"({"from":"a","text":"b","icon":1,"timeout":3} x)",
                                  R"({"from":1,"text":"b","icon":1,"timeout":3})"}) {
        QTest::newRow(bad) << bad << false << qint64(0);
    }
    QTest::newRow("too deep") << QString(5000, u'[') << false << qint64(0);
}

void TestWords::messageRecords()
{
    QFETCH(QString, json);
    const auto message = decode_message(json);
    QTEST(message.has_value(), "decodes");
    QTEST(message ? message->timeout : 0, "timeout");
}

void TestWords::statusRecords_data()
{
    QTest::addColumn<QString>("session");
    QTest::addColumn<bool>("decodes");
    QTest::addColumn<double>("date"); // NaN: none

    const QString fields =
        QStringLiteral(R"("session":7,"remoteDevice":"d","remoteControlUser":"u")");
    const double none = qQNaN();
    QTest::newRow("no date") << u'{' + fields + u'}' << true << none;
    QTest::newRow("null date") << u'{' + fields + QLatin1String(R"(,"sessionDate":null})") << true
                               << none;
    QTest::newRow("date") << u'{' + fields + QLatin1String(R"(,"sessionDate":12.5})") << true
                          << 12.5;
    QTest::newRow("text date") << u'{' + fields + QLatin1String(R"(,"sessionDate":"2001"})")
                               << false << none;
    QTest::newRow("missing user") << R"({"session":7,"remoteDevice":"d"})" << false << none;
    QTest::newRow("no object") << "7" << false << none;
}

void TestWords::statusRecords()
{
    QFETCH(QString, session);
    QFETCH(double, date);
    // A good session before it must not save the record.
    const auto status = decode_status(
        QStringLiteral(
            R"({"accountIsValid":true,"gateway":"g","sessionId":"s","sessions":[%1,%2]})")
            .arg(QStringLiteral(R"({"session":1,"remoteDevice":"","remoteControlUser":""})"),
                 session));
    QTEST(status.has_value(), "decodes");
    if (status) {
        QCOMPARE(status->sessions.at(1).session, 7);
        QCOMPARE(status->sessions.at(1).sessionDate.value_or(qQNaN()), date);
    }
    QVERIFY(!decode_status(
        QStringLiteral(R"({"accountIsValid":1,"gateway":"g","sessionId":"s","sessions":[]})")));
}

void TestWords::firstWords_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("word");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("blank first") << " a"
                                 << "";
    QTest::newRow("plain") << "/bin/ls -l"
                           << "/bin/ls";
    QTest::newRow("only") << "/bin/ls"
                          << "/bin/ls";
    QTest::newRow("single quotes") << "'/a b/c' -x"
                                   << "'/a b/c'";
    QTest::newRow("double quotes") << "\"/a b/c\"d e"
                                   << "\"/a b/c\"";
    QTest::newRow("escaped blank") << "/a\\ b/c d"
                                   << "/a\\ b/c";
    QTest::newRow("a backslash does not protect a quote") << "'a\\'b' c"
                                                          << "'a\\'";
    QTest::newRow("quote inside the other kind") << "\"it's\" x"
                                                 << "\"it's\"";
    QTest::newRow("unclosed") << "'a b"
                              << "'a b";
    QTest::newRow("only a quoted blank clears the escape") << "\\a b"
                                                           << "\\a";
}

void TestWords::firstWords()
{
    QFETCH(QString, line);
    QTEST(RemoteCommands::getCommand(line), "word");
}

void TestWords::commandStatuses_data()
{
    QTest::addColumn<QString>("line"); // %1: a folder with an application in it
    QTest::addColumn<qint64>("status");
    QTest::addColumn<QString>("log");

    const QString app = QStringLiteral("%1/Applications/A B.app/Contents/MacOS/run");
    QTest::newRow("success") << "true" << qint64(0) << "command=true|status=0";
    QTest::newRow("status") << "exit 3" << qint64(3) << "command=exit 3|status=3";
    QTest::newRow("no such program")
        << "/nowhere/x 2>/dev/null" << qint64(127) << "command=/nowhere/x 2>/dev/null|status=127";
    QTest::newRow("signal") << "kill -KILL $$" << qint64(9) << "command=kill -KILL $$|status=9";
    QTest::newRow("reads its empty input") << "cat" << qint64(0) << "command=cat|status=0";
    QTest::newRow("NUL") << QStringLiteral("true") + QChar(0) + QStringLiteral("false") << qint64(1)
                         << QStringLiteral("command=true") + QChar(0) + QStringLiteral("false");
    QTest::newRow("application") << u'\'' + app + QLatin1String("' 5") << qint64(0) << "status=0";
    QTest::newRow("application in double quotes") << u'"' + app + u'"' << qint64(0) << "status=0";
    QTest::newRow("no such application") << u'\'' + app + QLatin1String("x' 5") << qint64(4) << "";
    QTest::newRow("folder of applications alone")
        << "exit 6 # %1/Applications/" << qint64(6) << "command=exit 6 # %1/Applications/|status=6";
}

void TestWords::commandStatuses()
{
    QFETCH(QString, line);
    QFETCH(QString, log);
    QTemporaryDir root;
    const QString app = root.filePath(QStringLiteral("Applications/A B.app/Contents/MacOS/"));
    const QString logs = root.filePath(QStringLiteral("var/lib/Halvern/vantoryAgent/logs/"));
    QVERIFY(QDir().mkpath(app) && QDir().mkpath(logs));
    QVERIFY(write(app + QStringLiteral("run"), "#!/bin/sh\nsleep $1\n"));
    QFile::setPermissions(app + QStringLiteral("run"), QFile::ReadOwner | QFile::ExeOwner);
    QVERIFY(write(logs + QStringLiteral("vantoryAgent.stdout"), ""));
    qputenv("VANTORY_ROOT", QFile::encodeName(root.path()));

    QTEST(RemoteCommands::executeCommand(line.replace(QLatin1String("%1"), root.path())), "status");

    QFile file(logs + QStringLiteral("vantoryAgent.stdout"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList lines;
    for (const QByteArray& logged : file.readAll().split('\n')) {
        lines.append(QString::fromUtf8(logged.mid(24)));
    }
    lines.removeLast();
    QCOMPARE(lines.join(u'|'), log.replace(QLatin1String("%1"), root.path()));
}

void TestWords::allowedSettings_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("result"); // "none", "not set", "true" or "false"

    const QByteArray required = R"("allow_message_to_devices":true,"allow_chat_to_devices":false,)"
                                R"("require_user_acknowledgement_for_devices":true,)"
                                R"("allow_file_transfer_to_devices":true,)"
                                R"("allow_devices_to_be_viewed":true)";
    const auto document = [&](const QByteArray& more) {
        return "{\"settings\":{" + required + more + "}}";
    };
    QTest::newRow("not set") << document("") << "not set";
    QTest::newRow("null") << document(R"(,"show_agent_ui_on_connection":null)") << "not set";
    QTest::newRow("true") << document(R"(,"show_agent_ui_on_connection":true)") << "true";
    QTest::newRow("false") << document(R"(,"show_agent_ui_on_connection":false)") << "false";
    QTest::newRow("text") << document(R"(,"show_agent_ui_on_connection":"true")") << "none";
    QTest::newRow("one key missing")
        << document("").replace("\"allow_chat_to_devices\":false,", "") << "none";
    QTest::newRow("one key of another type")
        << document("").replace("\"allow_chat_to_devices\":false", "\"allow_chat_to_devices\":0")
        << "none";
    QTest::newRow("no settings") << QByteArray("{}") << "none";
    QTest::newRow("empty") << QByteArray() << "none";
    QTest::newRow("binary") << QByteArray("\xff\x00\xfe", 3) << "none";
}

void TestWords::allowedSettings()
{
    QFETCH(QByteArray, document);
    QTemporaryDir root;
    qputenv("VANTORY_ROOT", QFile::encodeName(root.path()));
    QVERIFY(!readAllowedSettings());
    const QString folder = root.filePath(QStringLiteral("Library/Preferences/vantoryAgent/"));
    QVERIFY(QDir().mkpath(folder) && write(folder + QStringLiteral("gateway.json"), document));

    const auto settings = readAllowedSettings();
    QString result = QStringLiteral("none");
    if (settings) {
        const auto flag = settings->show_agent_ui_on_connection;
        result = !flag ? QStringLiteral("not set")
                       : (*flag ? QStringLiteral("true") : QStringLiteral("false"));
        QVERIFY(!settings->allow_chat_to_devices && settings->allow_devices_to_be_viewed);
    }
    QTEST(result, "result");
}

QTEST_GUILESS_MAIN(TestWords)
#include "tst_words.moc"
