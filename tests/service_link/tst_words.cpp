#include "WriteFile.h"
#include "localisation/Numbers.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

// Numbers, payloads and command lines, without a link.
class TestWords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path())); }

    void integers()
    {
        QCOMPARE(parseInteger64(u"-9223372036854775808"), std::numeric_limits<qint64>::min());
        QVERIFY(!parseInteger32(u"2147483648"));
        for (const char* const bad : {"", " 5", "5\n", "5.0", "\u0665", "9223372036854775808"}) {
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
        const auto decode = [](QLatin1StringView rest) {
            return decode_message(u"{\"from\":\"a\",\"text\":\"b\",%1}"_s.arg(rest));
        };
        // More digits than a double has.
        QCOMPARE(decode(R"("icon":1,"timeout":9007199254740993,"x":{})"_L1).value().timeout,
                 9007199254740993);
        for (const auto bad :
             {R"("timeout":3)"_L1, R"("icon":"1","timeout":3)"_L1, R"("icon":1,"timeout":3.5)"_L1,
              R"("icon":1,"timeout":9223372036854775808)"_L1}) {
            QVERIFY2(!decode(bad), bad.data());
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
        QVERIFY(writeFile(app, "#!/bin/sh\nsleep $1\n: > \"$0.done\"\n"));
        QFile::setPermissions(app, QFile::ReadOwner | QFile::ExeOwner);
        const auto statusOf = [](const QString& line) {
            return RemoteCommands::executeCommand(line).wait();
        };
        QCOMPARE(statusOf(u"/nowhere/x 2>/dev/null"_s), 127);
        QCOMPARE(statusOf(u'\'' + app + u"x' 5"_s), 4);
        QCOMPARE(statusOf(u'\'' + app + u"' 5"_s), 0); // an application is not waited for
        QVERIFY(!QFile::exists(app + u".done"_s));
    }

private:
    QTemporaryDir m_root;
};

QTEST_GUILESS_MAIN(TestWords)
#include "tst_words.moc"
