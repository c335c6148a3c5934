#include "localisation/ShownText.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kFamily = u"👨‍👩‍👧‍👦"_s; // eleven code units
const QString kScotland = u"🏴󠁧󠁢󠁳󠁣󠁴󠁿"_s;
const QString kAccented = u"e\u0301"_s;
const QString kSyllable = u"\u1100\u1161\u11A8"_s; // in three parts

} // namespace

class TestShownText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstCharacters()
    {
        for (const QString& unit : {kFamily, kScotland, u"🇰🇷"_s, kAccented, kSyllable}) {
            QCOMPARE(ShownText::firstCharacters(unit.repeated(200), 128), unit.repeated(128));
        }
        const QString full(128, u'a');
        QCOMPARE(ShownText::firstCharacters(full + kAccented, 128), full);
    }

    // In every place: paragraphs, tool tips, lines and items of a menu.
    void shown()
    {
        const std::pair<QString, QString> cases[] = {
            {kFamily + kScotland + u"❤️‍🔥👍🏽"_s,
             kFamily + kScotland + u"❤️‍🔥👍🏽"_s},
            {u"a\r\nb\rc\nd\u0085e\u2029f\v"_s, u"a\u2028b\u2028c\u2028d\u2028e\u2028f\u2028"_s},
            {u"a\u0001\u001B[1mb\u009F"_s + QChar(u'\0'), u"a\uFFFD\uFFFD[1mb\uFFFD\uFFFD"_s},
            {u"\u202Eabc\u202C \u2066\u202Bd\u2069"_s, u"abc d"_s}, // direction overridden
            {u"a\uFFFC\uFDD0b\uFDD1"_s, u"a\uFFFD\uFFFDb\uFFFD"_s}, // the text engine's own
            {u'a' + QString(1000, QChar(0x301)), u'a' + QString(8, QChar(0x301))},
        };
        for (const auto& [text, shown] : cases) {
            const QString inOneLine = QString(shown).replace(QChar(0x2028), u' ');
            QCOMPARE(ShownText::shown(text), shown);
            QCOMPARE(ShownText::toolTip(text), QString(shown).replace(QChar(0x2028), u'\n'));
            QCOMPARE(ShownText::line(text), inOneLine);
        }
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
              u"\u115F\u1160\u3164\uFFA0\u2800\uE000"_s, u"\u0301\u20DD\uFE0F"_s,
              u"\u00AD\u202E\u2066\u0001\u007F\u009F"_s, u"\U000E0041\U0001D159\U00013441"_s}) {
            QVERIFY2(!ShownText::isSeen(name), qPrintable(name.toHtmlEscaped()));
        }
        for (const QString& name : {u"."_s, u"\u200F\u05D0"_s, u" 7"_s, u"\u1112\u1161"_s,
                                    u"e\u0301"_s, u"𝒜"_s, kFamily, u"❤️"_s}) {
            QVERIFY2(ShownText::isSeen(name), qPrintable(name));
        }
    }
};

QTEST_GUILESS_MAIN(TestShownText)
#include "tst_showntext.moc"
