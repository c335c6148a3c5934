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
        QCOMPARE(parseInteger64(u"-9223372036854775808"), std::numeric_limits<qint64>::min());
        QCOMPARE(parseInteger32(u"+007"), 7);
        QVERIFY(!parseInteger32(u"2147483648"));
        for (const char* const bad :
             {"", "-", " 5", "5\n", "5.0", "1e3", "0x10", "\u0665", "9223372036854775808"}) {
            QVERIFY2(!parseInteger64(QString::fromUtf8(bad)), bad);
        }
    }

    // The service begins a message at each "#####".
    void namesHoldNoMarker()
    {
        QCOMPARE(Protocol::updateUser(u"Ann #1 ####Bell"_s), u"#####update_user=Ann #1 ####Bell"_s);
        QCOMPARE(Protocol::updateUser(u"A#####request=restart######"_s),
                 u"#####update_user=Arequest=restart"_s);
    }

    void records()
    {
        const auto decode = [](const QString& icon, const QString& timeout) {
            return decode_message(
                uR"({"from":"a","text":"b"%1,"timeout":%2})"_s.arg(icon, timeout));
        };
        const QString icon = u",\"icon\":1"_s;
        // More digits than a double has.
        QCOMPARE(decode(icon, u"9007199254740993,\"x\":{}"_s).value().timeout, 9007199254740993);
        QVERIFY(!decode(u""_s, u"3"_s) && !decode(u",\"icon\":\"1\""_s, u"3"_s));
        for (const char* const bad : {"9223372036854775808", "3.5", "\"3\"", ""}) {
            QVERIFY2(!decode(icon, QString::fromUtf8(bad)), bad);
        }
        const auto status = [](const QString& date) {
            return decode_status(
                uR"({"accountIsValid":true,"gateway":"g","sessionId":"s","sessions":[{"session":7,)"
                uR"("remoteDevice":"d","remoteControlUser":"u"%1}]})"_s.arg(date));
        };
        QVERIFY(!status({}).value().sessions.at(0).sessionDate);
        QCOMPARE(status(uR"(,"sessionDate":12.5)"_s).value().sessions.at(0).sessionDate, 12.5);
        QVERIFY(!status(uR"(,"sessionDate":"2001")"_s));
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
        const auto read = [&folder](const char* chat, const char* showing) {
            const QByteArray allowed =
                QByteArray(R"({"settings":{"allow_message_to_devices":true,)"
                           R"("require_user_acknowledgement_for_devices":true,)"
                           R"("allow_file_transfer_to_devices":true,)"
                           R"("allow_devices_to_be_viewed":true)") +
                chat + showing + "}}";
            return writeFile(folder + u"gateway.json"_s, allowed) ? readAllowedSettings()
                                                                  : std::nullopt;
        };
        constexpr auto kChat = R"(,"allow_chat_to_devices":false)";
        const auto plain = read(kChat, "");
        QVERIFY(plain && !plain->show_agent_ui_on_connection && !plain->allow_chat_to_devices);
        QVERIFY(!read(kChat, R"(,"show_agent_ui_on_connection":"true")") && !read("", ""));
    }

private:
    QTemporaryDir m_root;
};

QTEST_GUILESS_MAIN(TestWords)
#include "tst_words.moc"
