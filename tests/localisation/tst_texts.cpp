#include "WriteFile.h"
#include "localisation/ShownText.h"
#include "localisation/Translate.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

const QString kFamily = u"👨‍👩‍👧‍👦"_s; // eleven code units

// The label document and damaged ones, text from outside as it is shown, and what the service's
// messages and our replies hold.
class TestTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path())); }

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

    void damagedLabels()
    {
        QVERIFY(!labelsWith("\"_import\"", "\"unknown\""));
        QVERIFY(!labelsWith("\"ok\": \"OK\"", "\"ok\": 1"));
        QVERIFY(!labelsWith("\"OK\"", "\"\xff\""));
    }

    // By name: the document lists Spanish before Italian, the enumeration after it.
    void languages()
    {
        QVERIFY(labelsWith("\"ok\"", "\"unknown\": 5, \"ok\"")); // may be there
        for (const auto& [preference, cancel] : {std::pair("es_MX"_L1, u"Cancelar"_s),
                                                 {"it"_L1, u"Annulla"_s},
                                                 {"de-AT"_L1, u"Abbrechen"_s},
                                                 {"zh-Hans"_L1, u"Cancel"_s},
                                                 {"C"_L1, u"Cancel"_s}}) {
            const Language language = languageFor({preference, u"fr"_s});
            QCOMPARE(labelsOf(language)->Common.cancel, cancel);
        }
        QCOMPARE(languageFor({u"pt-BR"_s}), Language::Portuguese);
    }

    // In every place: paragraphs, tool tips, lines and items of a menu.
    void whatIsShownIsSafe()
    {
        const QString text = kFamily +
                             u"\r\nb\u0085c\u2029d\v"
                             "\u0001\u001B[1m\u009F"               // controls
                             "\u202Eabc\u202C \u2066\u202Bd\u2069" // direction overridden
                             "\uFFFC\uFDD0e"_s +                   // the text engine's own
                             QString(1000, QChar(0x301));
        const QString shown =
            kFamily + u"\u2028b\u2028c\u2028d\u2028\uFFFD\uFFFD[1m\uFFFDabc d\uFFFD\uFFFDe"_s +
            QString(8, QChar(0x301));
        QCOMPARE(ShownText::shown(text), shown);
        QCOMPARE(ShownText::toolTip(text), QString(shown).replace(QChar(0x2028), u'\n'));
        QCOMPARE(ShownText::line(text), QString(shown).replace(QChar(0x2028), u' '));
        QCOMPARE(ShownText::firstCharacters(kFamily.repeated(200), 128), kFamily.repeated(128));
        QCOMPARE(ShownText::line(kFamily.repeated(2'000), 12), kFamily + u'…');
    }

    void isSeen()
    {
        for (const QString& name :
             {QString(), u" \t\n\u00A0\u2003\u3000\u2028\u200B\u200D\u2060\uFEFF"_s,
              u"\u115F\u1160\u3164\uFFA0\u2800\uE000"_s, u"\u0301\u202E\u0001\U000E0041"_s}) {
            QVERIFY2(!ShownText::isSeen(name), qPrintable(name.toHtmlEscaped()));
        }
        QVERIFY(ShownText::isSeen(kFamily));
    }

private:
    QTemporaryDir m_root;

    // Of the shipped document, installed with this change.
    static std::optional<JsonData::Info> labelsWith(const QByteArray& before,
                                                    const QByteArray& after)
    {
        QFile shipped(u"" VANTORY_TEST_DATA "/../../resources/translate.json"_s);
        QByteArray document = shipped.open(QIODevice::ReadOnly) ? shipped.readAll() : "?";
        document.replace(document.lastIndexOf(before), before.size(), after);
        writeFile(QCoreApplication::applicationDirPath() + u"/Resources/translate.json"_s,
                  document);
        return labelsOf(Language::English);
    }
};

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
