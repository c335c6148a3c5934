#include "service_link/AllowedSettings.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

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
    void integers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("wide"); // empty: none
        QTest::addColumn<QString>("narrow");

        const auto row = [](const char* text, const char* wide, const char* narrow) {
            QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(wide)
                                << QString::fromUtf8(narrow);
        };
        row("007", "7", "7");
        row("+5", "5", "5");
        row("-5", "-5", "-5");
        row("2147483647", "2147483647", "2147483647");
        row("2147483648", "2147483648", "");
        row("-9223372036854775808", "-9223372036854775808", "");
        row("9223372036854775808", "", "");
        for (const char* const bad :
             {"", "-", "+-5", " 5", "5\n", "5.0", "1e3", "0x10", "1,000", "\u0665", "5a"}) {
            row(bad, "", "");
        }
    }

    void integers()
    {
        QFETCH(QString, text);
        const auto wide = Protocol::parseInteger64(text);
        const auto narrow = Protocol::parseInteger32(text);
        QTEST(wide ? QString::number(*wide) : QString(), "wide");
        QTEST(narrow ? QString::number(*narrow) : QString(), "narrow");
    }

    void messageRecords_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<qint64>("timeout");

        const auto row =
            [](const char* name, const QString& timeout, bool decodes, qint64 value = 0) {
                QTest::newRow(name)
                    << uR"({"from":"a","text":"b","icon":1,"timeout":%1})"_s.arg(timeout) << decodes
                    << value;
            };
        row("integer", u"3"_s, true, 3);
        row("exact beyond a double's digits", u"9007199254740993"_s, true, 9007199254740993);
        row("beyond range", u"9223372036854775808"_s, false);
        row("fraction", u"3.5"_s, false);
        row("string", u"\"3\""_s, false);
        QTest::newRow("unknown key")
            << R"({"from":"a","text":"b","icon":1,"timeout":3,"x":{}})" << true << qint64(3);
        QTest::newRow("missing key")
            << R"({"from":"a","text":"b","timeout":3})" << false << qint64(0);
        for (const char* const bad : {"", "null", "[]", "{}", "{\"from\":",
                                      R"({"from":"a","text":"b","icon":1,"timeout":3} x)",
                                      R"({"from":1,"text":"b","icon":1,"timeout":3})"}) {
            QTest::newRow(bad) << bad << false << qint64(0);
        }
        QTest::newRow("too deep") << QString(5000, u'[') << false << qint64(0);
    }

    void messageRecords()
    {
        QFETCH(QString, json);
        const auto message = decode_message(json);
        QTEST(message.has_value(), "decodes");
        QTEST(message ? message->timeout : 0, "timeout");
    }

    void statusRecords()
    {
        const std::pair<const char*, std::optional<double>> dates[] = {
            {"", std::nullopt},
            {R"(,"sessionDate":null)", std::nullopt},
            {R"(,"sessionDate":12.5)", 12.5}};
        const auto decode = [](const char* isValid, const char* date) {
            const QString session =
                uR"({"session":7,"remoteDevice":"d","remoteControlUser":"u"%1})"_s;
            return decode_status(
                uR"({"accountIsValid":%1,"gateway":"g","sessionId":"s","sessions":[%2,%3]})"_s.arg(
                    QLatin1StringView(isValid), session.arg(QString()),
                    session.arg(QLatin1StringView(date))));
        };
        for (const auto& [text, date] : dates) {
            const auto status = decode("true", text);
            QVERIFY2(status && status->sessions.at(1).session == 7, text);
            QCOMPARE(status->sessions.at(1).sessionDate, date);
        }
        // A good session before it must not save the record.
        QVERIFY(!decode("true", R"(,"sessionDate":"2001")"));
        QVERIFY(!decode("1", ""));
    }

    void firstWords()
    {
        const std::pair<const char*, const char*> expectations[] = {
            {"", ""},
            {" a", ""},
            {"/bin/ls -l", "/bin/ls"},
            {"'/a b/c' -x", "'/a b/c'"},
            {"\"/a b/c\"d e", "\"/a b/c\""},
            {"/a\\ b/c d", "/a\\ b/c"},
            {"'a\\'b' c", "'a\\'"}, // a backslash does not protect a quote
            {"\"it's\" x", "\"it's\""},
            {"'a b", "'a b"},
            {"\\a b", "\\a"}, // only a quoted blank clears the escape
        };
        for (const auto& [line, word] : expectations) {
            QCOMPARE(RemoteCommands::getCommand(QString::fromUtf8(line)), QLatin1StringView(word));
        }
    }

    void commandStatuses_data()
    {
        QTest::addColumn<QString>("line"); // %1: a folder with an application in it
        QTest::addColumn<qint64>("status");
        QTest::addColumn<QString>("log");

        const QString app = u"%1/Applications/A B.app/Contents/MacOS/run"_s;
        QTest::newRow("status") << "exit 3" << qint64(3) << "command=exit 3|status=3";
        QTest::newRow("no such program") << "/nowhere/x 2>/dev/null" << qint64(127)
                                         << "command=/nowhere/x 2>/dev/null|status=127";
        QTest::newRow("signal") << "kill -KILL $$" << qint64(9) << "command=kill -KILL $$|status=9";
        QTest::newRow("NUL") << u"true"_s + QChar(0) + u"false"_s << qint64(1)
                             << u"command=true"_s + QChar(0) + u"false"_s;
        QTest::newRow("application") << u'\'' + app + "' 5"_L1 << qint64(0) << "status=0";
        QTest::newRow("no such application") << u'\'' + app + "x' 5"_L1 << qint64(4) << "";
    }

    void commandStatuses()
    {
        QFETCH(QString, line);
        QFETCH(QString, log);
        QTemporaryDir root;
        const QString app = root.filePath(u"Applications/A B.app/Contents/MacOS/"_s);
        const QString logs = root.filePath(u"var/lib/Halvern/vantoryAgent/logs/"_s);
        QVERIFY(QDir().mkpath(app) && QDir().mkpath(logs));
        QVERIFY(write(app + u"run"_s, "#!/bin/sh\nsleep $1\n: > \"$0.done\"\n"));
        QFile::setPermissions(app + u"run"_s, QFile::ReadOwner | QFile::ExeOwner);
        QVERIFY(write(logs + u"vantoryAgent.stdout"_s, ""));
        qputenv("VANTORY_ROOT", QFile::encodeName(root.path()));

        QTEST(RemoteCommands::executeCommand(line.replace("%1"_L1, root.path())), "status");
        QVERIFY(!QFile::exists(app + u"run.done"_s)); // an application is not waited for

        QFile file(logs + u"vantoryAgent.stdout"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList lines;
        for (const QByteArray& logged : file.readAll().split('\n')) {
            lines.append(QString::fromUtf8(logged.mid(24)));
        }
        lines.removeLast();
        QCOMPARE(lines.join(u'|'), log.replace("%1"_L1, root.path()));
    }

    void allowedSettings_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("result"); // "none", "not set", "true" or "false"

        const QByteArray required =
            R"("allow_message_to_devices":true,"allow_chat_to_devices":false,)"
            R"("require_user_acknowledgement_for_devices":true,)"
            R"("allow_file_transfer_to_devices":true,)"
            R"("allow_devices_to_be_viewed":true)";
        const auto document = [&](const QByteArray& more) {
            return "{\"settings\":{" + required + more + "}}";
        };
        QTest::newRow("not set") << document("") << "not set";
        QTest::newRow("true") << document(R"(,"show_agent_ui_on_connection":true)") << "true";
        QTest::newRow("false") << document(R"(,"show_agent_ui_on_connection":false)") << "false";
        QTest::newRow("text") << document(R"(,"show_agent_ui_on_connection":"true")") << "none";
        QTest::newRow("one key missing")
            << document("").replace("\"allow_chat_to_devices\":false,", "") << "none";
        QTest::newRow("one key of another type")
            << document("").replace("\"allow_chat_to_devices\":false",
                                    "\"allow_chat_to_devices\":0")
            << "none";
        QTest::newRow("empty") << QByteArray() << "none";
        QTest::newRow("binary") << QByteArray("\xff\x00\xfe", 3) << "none";
    }

    void allowedSettings()
    {
        QFETCH(QByteArray, document);
        QTemporaryDir root;
        qputenv("VANTORY_ROOT", QFile::encodeName(root.path()));
        QVERIFY(!readAllowedSettings());
        const QString folder = root.filePath(u"Library/Preferences/vantoryAgent/"_s);
        QVERIFY(QDir().mkpath(folder) && write(folder + u"gateway.json"_s, document));

        const auto settings = readAllowedSettings();
        QString result = u"none"_s;
        if (settings) {
            const auto flag = settings->show_agent_ui_on_connection;
            result = !flag ? u"not set"_s : (*flag ? u"true"_s : u"false"_s);
            QVERIFY(!settings->allow_chat_to_devices && settings->allow_devices_to_be_viewed);
        }
        QTEST(result, "result");
    }
};

QTEST_GUILESS_MAIN(TestWords)
#include "tst_words.moc"
