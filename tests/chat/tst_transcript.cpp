#include "chat/ChatTranscript.h"

#include <QAbstractTextDocumentLayout>
#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <memory>

using namespace Qt::StringLiterals;

// What a transcript keeps, copies and is scrolled to.
class TestTranscript : public QObject {
    Q_OBJECT

private:
    void append(const QString& text) { m_transcript->appendBody(text, true, ChatColour::Text); }

    // Everything that breaks the lines anew.
    void changeLooks()
    {
        m_transcript->resize(500, 200);
        m_transcript->resize(280, 500);
        m_transcript->setPalette(QPalette(Qt::black));
        QFont font = m_transcript->font();
        font.setPointSize(font.pointSize() + 1);
        m_transcript->setFont(font);
    }

    // How far the end of the text is below the window.
    [[nodiscard]] int distanceToEnd() const
    {
        const qreal height = m_transcript->document()->documentLayout()->documentSize().height();
        return qRound(height) - m_transcript->viewport()->height() - m_bar->value();
    }

    [[nodiscard]] QTextCursor lineAtTop() const { return m_transcript->cursorForPosition({0, 0}); }

    std::unique_ptr<ChatTranscript> m_transcript;
    QScrollBar* m_bar = nullptr;

private Q_SLOTS:
    void init()
    {
        m_transcript = std::make_unique<ChatTranscript>();
        m_bar = m_transcript->verticalScrollBar();
        m_transcript->resize(360, 370);
        m_transcript->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_transcript.get()));
        for (int i = 0; i <= ChatTranscript::kMostLines; ++i) {
            append(u"%1 word"_s.arg(i).repeated(1 + i % 20));
        }
    }

    void staysAtTheNewestLine()
    {
        QCOMPARE(m_transcript->document()->blockCount(), ChatTranscript::kMostLines);
        for (const int width : {500, 280, 360}) {
            m_transcript->resize(width, 370);
            QCOMPARE(distanceToEnd(), 0);
        }
        for (const QString& text : {u"a"_s.repeated(60'000), u"a\n"_s.repeated(30'000)}) {
            append(text);
            QCOMPARE(distanceToEnd(), 0);
            changeLooks();
            QCOMPARE(distanceToEnd(), 0);
        }
        m_transcript->selectAll();
        append(u"more"_s);
        QCOMPARE(distanceToEnd(), 0);
        QVERIFY(!m_transcript->textCursor().selectedText().contains(u"more"_s));
    }

    void staysWhereTheUserReads_data()
    {
        QTest::addColumn<bool>("byKeyboard");
        QTest::newRow("by the scroll bar") << false;
        QTest::newRow("by the keyboard") << true;
    }
    void staysWhereTheUserReads()
    {
        QFETCH(bool, byKeyboard);
        if (byKeyboard) {
            for (int i = 0; i < 60; ++i) {
                QTest::keyClick(m_transcript.get(), Qt::Key_Up);
            }
        } else {
            m_bar->setSliderPosition(m_bar->maximum() * 4 / 5);
            m_transcript->selectAll();
        }
        QVERIFY(distanceToEnd() > 100);
        const QString read = lineAtTop().block().text();
        const QRect place = m_transcript->cursorRect(lineAtTop());
        append(u"more"_s); // takes a line of the same height away at the other end
        QCOMPARE(lineAtTop().block().text(), read);
        QCOMPARE(m_transcript->cursorRect(lineAtTop()), place);
        changeLooks();
        QCOMPARE(lineAtTop().block().text(), read);
        // Back at the end, new lines are followed again.
        if (byKeyboard) {
            QTest::keyClick(m_transcript.get(), Qt::Key_End, Qt::ControlModifier);
        } else {
            m_transcript->appendBody(u"the user's own"_s, false, ChatColour::Text);
        }
        append(u"more"_s);
        QCOMPARE(distanceToEnd(), 0);
    }

    void copiesWhatWasSaid()
    {
        m_transcript->clear();
        const QString text = u"a\n\n"_s.repeated(500) + u"b"_s.repeated(2'500) + u" c"_s;
        append(text);
        m_transcript->selectAll();
        m_transcript->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), text);
    }

    void noticesFollowThePalette()
    {
        m_transcript->appendBody(u"Ann has left"_s, true, ChatColour::Red);
        const auto lightnessOn = [this](const QColor& base) {
            QPalette palette;
            palette.setColor(QPalette::Base, base);
            m_transcript->setPalette(palette);
            const QTextBlock notice = m_transcript->document()->lastBlock();
            return notice.begin().fragment().charFormat().foreground().color().lightness();
        };
        QVERIFY(lightnessOn(0x333333) > lightnessOn(0xffffff));
    }
};

QTEST_MAIN(TestTranscript)
#include "tst_transcript.moc"
