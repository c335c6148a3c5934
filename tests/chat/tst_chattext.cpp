#include <QTest>
#include <QTextBoundaryFinder>

#include "chat/ChatPlacement.h"
#include "window_kit/ShownText.h"

using namespace Qt::StringLiterals;

namespace {

const QString kFamily = u"👨‍👩‍👧‍👦"_s;
const QString kScotland = u"🏴󠁧󠁢󠁳󠁣󠁴󠁿"_s;
const QString kAccented = u"e\u0301"_s;
const QString kJamo = u"\u1100\u1161\u11A8"_s; // one syllable in three parts

} // namespace

// The rules of a chat that need no window.
class TestChatText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstCharacters_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("cut");
        for (const QString& unit : {kFamily, kScotland, u"🇰🇷"_s, kAccented, kJamo}) {
            QTest::addRow("200 of %s", qPrintable(unit))
                << unit.repeated(200) << unit.repeated(128);
        }
        QTest::newRow("129, the last in two parts")
            << QString(128, u'a') + kAccented << QString(128, u'a');
        QTest::newRow("half an emoji at the end")
            << QString(128, u'a') + kFamily.first(1) << QString(128, u'a');
    }
    void firstCharacters()
    {
        QFETCH(QString, text);
        QTEST(ShownText::firstCharacters(text, 128), "cut");
    }

    void shown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        const auto same = [](const char* name, const QString& text) {
            QTest::newRow(name) << text << text;
        };
        same("emoji", kFamily + kScotland + u"❤️‍🔥👍🏽"_s);
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
        QTEST(ShownText::shown(text), "shown");
        QVERIFY(!ShownText::shownInLine(text).contains(QChar(QChar::LineSeparator)));
    }

    void pieces_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isApartAtCharacters");
        QTest::newRow("no place to break") << QString(65'000, u'a') << true;
        QTest::newRow("lines") << u"lorem\u2028ipsum "_s.repeated(5'000) << true;
        QTest::newRow("families") << kFamily.repeated(2'000) << true;
        QTest::newRow("one endless character") << u"🙂\u200D"_s.repeated(2'000) << false;
    }
    void pieces()
    {
        QFETCH(QString, text);
        QFETCH(bool, isApartAtCharacters);
        QString joined;
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
        const QList<ShownText::Piece> pieces = ShownText::pieces(text);
        for (const ShownText::Piece& piece : pieces) {
            QVERIFY(piece.text.size() <= ShownText::kLongestPiece);
            QVERIFY(piece.text.isValidUtf16());
            finder.setPosition(joined.size());
            QVERIFY(joined.isEmpty() || !isApartAtCharacters || finder.isAtBoundary());
            joined += piece.text;
            joined += piece.endsLine ? QString(QChar(QChar::LineSeparator)) : QString();
        }
        QCOMPARE(joined, text);
    }

    void windowsComeUpApart()
    {
        const QRect room(1920, 30, 800, 570);
        const QSize frame(360, 512);
        QList<QPoint> taken;
        for (int i = 0; i < 8; ++i) {
            const QPoint place = ChatPlacement::next(room, frame, taken);
            QVERIFY(room.contains(QRect(place, frame)) && !taken.contains(place));
            taken.append(place);
        }
        // Larger than the screen: the title bar can still be reached.
        QCOMPARE(ChatPlacement::next(QRect(5, 6, 300, 200), frame, {}), QPoint(5, 6));
    }
};

QTEST_GUILESS_MAIN(TestChatText)
#include "tst_chattext.moc"
