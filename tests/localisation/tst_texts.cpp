#include "WriteFile.h"
#include "localisation/ShownText.h"
#include "localisation/Translate.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

const QString kFamily = u"👨‍👩‍👧‍👦"_s; // eleven code units

// The label document that is shipped and damaged ones; text from outside as it is shown.
class TestTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void damagedLabels()
    {
        QVERIFY(!labelsWith("\"_import\"", "\"unknown\""));
        QVERIFY(!labelsWith("\"ok\": \"OK\"", "\"ok\": 1"));
        QVERIFY(!labelsWith("\"OK\"", "\"\xff\""));
    }

    // By name: the document lists Spanish before Italian, the enumeration after it.
    void languages()
    {
        const auto labels = labelsWith("\"ok\"", "\"unknown\": 5, \"ok\""); // may be there
        QVERIFY(labels);
        for (const auto& [preference, cancel] : {std::pair("es_MX"_L1, u"Cancelar"_s),
                                                 {"it"_L1, u"Annulla"_s},
                                                 {"de-AT"_L1, u"Abbrechen"_s},
                                                 {"zh-Hans"_L1, u"Cancel"_s},
                                                 {"C"_L1, u"Cancel"_s}}) {
            const Language language = languageFor({preference, u"fr"_s});
            QCOMPARE(labels->info(language).Common.cancel, cancel);
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
        QCOMPARE(ShownText::menuItem(u"A && <b>B</b>"_s, 12), u"A &&&& <b>B</b…"_s);
        QCOMPARE(ShownText::menuItem(kFamily.repeated(2'000), 12), kFamily + u'…');
        QCOMPARE(ShownText::toolTip(u"<b>B</b>\n&"_s + QString(80, u'c')),
                 u"<p style=\"white-space:pre-wrap\">&lt;b&gt;B&lt;/b&gt;\n&amp;"_s +
                     QString(79, u'c') + u"\u200Bc</p>"_s);
    }

    void isSeen()
    {
        for (const QString& name :
             {QString(), u" \t\n\u00A0\u2003\u3000\u2028\u200B\u200D\u2060\uFEFF"_s,
              u"\u115F\u1160\u3164\uFFA0\u2800\uE000"_s, u"\u0301\u202E\u0001\U000E0041"_s}) {
            QVERIFY2(!ShownText::isSeen(name), qPrintable(name.toHtmlEscaped()));
        }
        for (const QString& name : {u"."_s, u"\u200F\u05D0"_s, u"\u1112\u1161"_s, kFamily}) {
            QVERIFY2(ShownText::isSeen(name), qPrintable(name));
        }
    }

private:
    // Of the shipped document, installed with this change.
    static std::shared_ptr<const JsonData> labelsWith(const QByteArray& before,
                                                      const QByteArray& after)
    {
        qputenv("VANTORY_ROOT", "/nowhere"); // no error is logged
        QFile shipped(u"" VANTORY_TEST_DATA "/../../resources/translate.json"_s);
        QByteArray document = shipped.open(QIODevice::ReadOnly) ? shipped.readAll() : "?";
        document.replace(document.lastIndexOf(before), before.size(), after);
        writeFile(QCoreApplication::applicationDirPath() + u"/Resources/translate.json"_s,
                  document);
        return getLanguageLabel();
    }
};

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
