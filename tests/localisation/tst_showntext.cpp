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
        QCOMPARE(ShownText::firstCharacters(full + kFamily.first(1), 128), full);
        // Thai has boundaries of its own.
        QCOMPARE(ShownText::firstCharacters(u"กำ"_s + kFamily.repeated(9), 3),
                 u"กำ"_s + kFamily.repeated(2));
        QCOMPARE(ShownText::line(u"กำ"_s + kFamily.repeated(9), 15), u"กำ"_s + kFamily + u'…');
    }

    void shown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        const QString emoji = kFamily + kScotland + u"❤️‍🔥👍🏽"_s;
        QTest::newRow("emoji") << emoji << emoji;
        QTest::newRow("line breaks")
            << u"a\r\nb\rc\nd\u0085e\u2029f\v"_s << u"a\u2028b\u2028c\u2028d\u2028e\u2028f\u2028"_s;
        QTest::newRow("controls and NUL")
            << u"a\u0001\u001B[1mb\u009F"_s + QChar(u'\0') << u"a\uFFFD\uFFFD[1mb\uFFFD\uFFFD"_s;
        QTest::newRow("direction overridden")
            << u"\u202Eabc\u202C \u2066\u202Bd\u2069"_s << u"abc d"_s;
        QTest::newRow("the text engine's own")
            << u"a\uFFFC\uFDD0b\uFDD1"_s << u"a\uFFFD\uFFFDb\uFFFD"_s;
        QTest::newRow("a thousand marks")
            << u'a' + QString(1000, QChar(0x301)) + u'b' << u'a' + QString(8, QChar(0x301)) + u'b';
        QTest::newRow("marks held together by joiners")
            << u'a' + u"\u0301\u200D"_s.repeated(9)
            << u'a' + u"\u0301\u200D"_s.repeated(8) + QChar(0x200D);
    }
    void shown()
    {
        QFETCH(QString, text);
        QFETCH(QString, shown);
        QCOMPARE(ShownText::shown(text), shown);
        QCOMPARE(ShownText::toolTip(text), QString(shown).replace(QChar(0x2028), u'\n'));
        QCOMPARE(ShownText::line(text), shown.replace(QChar(0x2028), u' '));
        QCOMPARE(ShownText::line(text, text.size()), shown);
    }

    void isSeen()
    {
        for (const QString& name :
             {QString(), u" \t\n\u00A0\u2003\u3000\u2028"_s, u"\u200B\u200D\u2060\uFEFF"_s,
              u"\u115F\u1160\u3164\uFFA0"_s, u"\u2800"_s, u"\u0301\u20DD\uFE0F"_s,
              u"\u00AD\u202E\u2066"_s, u"\u0001\u007F\u009F"_s, u"\uE000"_s,
              u"\U000E0041\U0001D159\U00013441"_s, QString(60'000, QChar(0x200B)) + u'a'}) {
            QVERIFY2(!ShownText::isSeen(name), qPrintable(name.toHtmlEscaped()));
        }
        for (const QString& name : {u"."_s, u"\u200F\u05D0"_s, u" 7"_s, u"김"_s, u"\u1112\u1161"_s,
                                    u"e\u0301"_s, u"กำ"_s, u"𝒜"_s, kFamily, u"❤️"_s}) {
            QVERIFY2(ShownText::isSeen(name), qPrintable(name));
        }
    }

    void cut()
    {
        const std::pair<QString, QString> cases[] = {
            {u"twelve units"_s, u"twelve units"_s},
            {u"A && <b>B</b>"_s, u"A &&&& <b>B</b…"_s},
            {kFamily.repeated(2'000), kFamily + u'…'},
            {u'a' + u"🙂"_s.repeated(2'000), u"a🙂🙂🙂🙂🙂…"_s},
            {u"🙂\u200D"_s.repeated(2'000), u"🙂\u200D🙂\u200D🙂\u200D🙂\u200D…"_s},
            {QString(900, QChar(0x202E)) + u"a\nb"_s, u"a b"_s},
        };
        for (const auto& [text, item] : cases) {
            QCOMPARE(ShownText::menuItem(text, 12), item);
        }
    }

    void toolTips()
    {
        const QString words = QString(70, u'a') + u' ' + QString(80, u'b') + u'\n';
        const std::pair<QString, QString> cases[] = {
            {u"<b>B</b>\n&"_s, u"&lt;b&gt;B&lt;/b&gt;\n&amp;"_s},
            {words + QString(85, u'c'), words + QString(80, u'c') + u"\u200Bccccc"_s},
            {kFamily.repeated(10), kFamily.repeated(7) + u'\u200B' + kFamily.repeated(3)},
            {u"a\n"_s.repeated(50), u"a↵"_s.repeated(40) + u'\u200B' + u"a↵"_s.repeated(10)},
            {u"a "_s.repeated(32'500), u"a "_s.repeated(5'000) + u'…'},
        };
        for (const auto& [text, body] : cases) {
            QCOMPARE(ShownText::toolTip(text),
                     u"<p style=\"white-space:pre-wrap\">"_s + body + u"</p>"_s);
        }
    }

    // That the pieces are the whole text, and none is too long, is fuzz/shown_text.cpp's.
    void piecesEndBetweenCharacters()
    {
        for (const ShownText::Piece& piece : ShownText::pieces(kFamily.repeated(2'000))) {
            QCOMPARE(piece.text.size() % kFamily.size(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestShownText)
#include "tst_showntext.moc"
