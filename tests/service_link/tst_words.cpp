#include "WriteFile.h"
#include "localisation/Numbers.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"
#include "settings/AllowedSettings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

// Numbers, payloads, command lines and the file of allowed settings, without a link.
class TestWords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path())); }

    void integers()
    {
        for (const qint64 whole : {7LL, -5LL, 2147483647LL, -2147483648LL, 2147483648LL,
                                   -2147483649LL, std::numeric_limits<qint64>::min()}) {
            const auto narrow = static_cast<qint32>(whole);
            const auto expected = narrow == whole ? std::optional(narrow) : std::nullopt;
            QCOMPARE(parseInteger64(QString::number(whole)), std::optional(whole));
            QCOMPARE(parseInteger32(QString::number(whole)), expected);
        }
        QCOMPARE(parseInteger64(u"+007"), std::optional<qint64>(7));
        for (const char* const bad : {"", "-", "+-5", " 5", "5\n", "5.0", "1e3", "0x10", "1,000",
                                      "\u0665", "5a", "9223372036854775808"}) {
            QVERIFY2(!parseInteger64(QString::fromUtf8(bad)), bad);
        }
    }

    // The service begins a message at each "#####".
    void namesHoldNoMarker()
    {
        const std::pair<QString, QString> expectations[] = {
            {u"Ann #1 ####Bell"_s, u"Ann #1 ####Bell"_s},
            {u"A#####request=restart######"_s, u"Arequest=restart"_s},
            {u"Ann #"_s, u"Ann "_s}, // before the next message's marker
        };
        for (const auto& [name, sent] : expectations) {
            QCOMPARE(Protocol::updateUser(name), u"#####update_user="_s + sent);
        }
    }

    void messageRecords()
    {
        const auto with = [](const char* timeout) {
            return QByteArray(R"({"from":"a","text":"b","icon":1,"timeout":)") + timeout + '}';
        };
        const auto decode = [](const QByteArray& json) {
            return decode_message(QString::fromUtf8(json));
        };
        QCOMPARE(decode(with("3,\"x\":{}")).value().timeout, 3);
        // More digits than a double has.
        QCOMPARE(decode(with("9007199254740993")).value().timeout, 9007199254740993);
        for (const QByteArray& bad :
             {with("9223372036854775808"), with("3.5"), with("\"3\""),
              with("3").replace("\"a\"", "1"), with("3").replace(R"("icon":1,)", ""),
              with("3").chopped(1), QByteArray("null"), QByteArray("[]")}) {
            QVERIFY2(!decode(bad), bad.left(80));
        }
    }

    void statusRecords()
    {
        const auto decode = [](const QString& isValid, const QString& date) {
            const QString session =
                uR"({"session":7,"remoteDevice":"d","remoteControlUser":"u"%1})"_s;
            return decode_status(
                uR"({"accountIsValid":%1,"gateway":"g","sessionId":"s","sessions":[%2,%3]})"_s.arg(
                    isValid, session.arg(QString()), session.arg(date)));
        };
        const std::pair<QString, std::optional<double>> dates[] = {
            {{}, {}}, {uR"(,"sessionDate":null)"_s, {}}, {uR"(,"sessionDate":12.5)"_s, 12.5}};
        for (const auto& [text, date] : dates) {
            const auto status = decode(u"true"_s, text);
            QVERIFY2(status && status->sessions.at(1).session == 7, qPrintable(text));
            QCOMPARE(status->sessions.at(1).sessionDate, date);
        }
        // The record does not decode, although its first session does.
        QVERIFY(!decode(u"true"_s, uR"(,"sessionDate":"2001")"_s));
        QVERIFY(!decode(u"1"_s, {}));
    }

    void firstWords()
    {
        const std::pair<const char*, const char*> expectations[] = {
            {"", ""},
            {"/bin/ls -l", "/bin/ls"},
            {"'/a b/c' -x", "'/a b/c'"},
            {"\"/a b/c\"d e", "\"/a b/c\""},
            {"'a\\'b' c", "'a\\'"}, // a backslash does not protect a quote
            {"\"it's\" x", "\"it's\""},
            {"\\a b", "\\a"}, // only a quoted blank clears the escape
        };
        for (const auto& [line, word] : expectations) {
            QCOMPARE(RemoteCommands::getCommand(QString::fromUtf8(line)), QLatin1StringView(word));
        }
    }

    void commandStatuses()
    {
        const QString app = m_root.filePath(u"Applications/A B.app/Contents/MacOS/run"_s);
        QVERIFY(QDir().mkpath(QFileInfo(app).path()));
        QVERIFY(writeFile(app, "#!/bin/sh\nsleep $1\n: > \"$0.done\"\n"));
        QFile::setPermissions(app, QFile::ReadOwner | QFile::ExeOwner);
        const std::pair<QString, int> expectations[] = {
            {u"exit 3"_s, 3},
            {u"/nowhere/x 2>/dev/null"_s, 127},
            {u"kill -KILL $$"_s, 9},
            {u"true"_s + QChar(0) + u"false"_s, 1},
            {u'\'' + app + u"' 5"_s, 0}, // an application is not waited for
            {u'\'' + app + u"x' 5"_s, 4},
        };
        for (const auto& [line, status] : expectations) {
            QCOMPARE(RemoteCommands::executeCommand(line).wait(), status);
        }
        QVERIFY(!QFile::exists(app + u".done"_s));
    }

    void allowedSettings()
    {
        const QString folder = m_root.filePath(u"Library/Preferences/vantoryAgent/"_s);
        QVERIFY(!readAllowedSettings() && QDir().mkpath(folder));
        const QByteArray whole = R"({"settings":{"allow_message_to_devices":true,)"
                                 R"("allow_chat_to_devices":false,)"
                                 R"("require_user_acknowledgement_for_devices":true,)"
                                 R"("allow_file_transfer_to_devices":true,)"
                                 R"("allow_devices_to_be_viewed":true}})";
        const auto replaced = [&whole](const char* before, const QByteArray& after) {
            return QByteArray(whole).replace(before, after);
        };
        const auto showing = [&replaced](const QByteArray& value) {
            return replaced("true}", "true,\"show_agent_ui_on_connection\":" + value + '}');
        };
        const auto read = [&folder](const QByteArray& document) {
            return writeFile(folder + u"gateway.json"_s, document) ? readAllowedSettings()
                                                                   : std::nullopt;
        };
        const auto plain = read(whole);
        QVERIFY(plain && !plain->show_agent_ui_on_connection && !plain->allow_chat_to_devices);
        QVERIFY(read(showing("true")).value().show_agent_ui_on_connection.value());
        QVERIFY(!read(showing("\"true\"")) && !read(replaced("false", "0")));
        QVERIFY(!read(replaced("\"allow_chat_to_devices\":false,", "")) && !read(QByteArray()));
    }

private:
    QTemporaryDir m_root;
};

QTEST_GUILESS_MAIN(TestWords)
#include "tst_words.moc"
