#include "chat/ChatTranscript.h"

#include <QAbstractTextDocumentLayout>
#include <QAccessible>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <memory>

using namespace Qt::StringLiterals;

// Where a transcript is scrolled to. A long text is written and laid out in many turns of the event
// loop, so the place is looked at when nothing moves any more.
class TestTranscript : public QObject {
    Q_OBJECT

private:
    void append(const QString& text)
    {
        m_transcript->appendBody(text, true, ChatColour::Text);
        m_transcript->appendBody(u"end"_s, true, ChatColour::Green);
        QTRY_COMPARE(m_transcript->document()->lastBlock().text(), u"end"_s);
        settle();
    }

    void settle() const
    {
        const auto state = [this] { return std::pair(m_bar->value(), m_bar->maximum()); };
        for (auto before = state(); QTest::qWait(60), state() != before; before = state()) {
        }
    }

    void enlargeFont()
    {
        QFont font = m_transcript->font();
        font.setPointSize(font.pointSize() + 1);
        m_transcript->setFont(font);
    }

    // The number of the block that the upper edge cuts.
    [[nodiscard]] int blockAtTop() const
    {
        return m_transcript->cursorForPosition({0, 0}).blockNumber();
    }

    // How far the end of the text is below the window.
    [[nodiscard]] int distanceToEnd() const
    {
        const qreal height = m_transcript->document()->documentLayout()->documentSize().height();
        return qRound(height) - m_transcript->viewport()->height() - m_bar->value();
    }

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
    }

    void staysAtTheNewestLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("no place to break") << u"a"_s.repeated(60'000);
        QTest::newRow("words") << u"lorem ipsum "_s.repeated(5'000);
        QTest::newRow("lines") << u"a\n"_s.repeated(30'000);
    }
    void staysAtTheNewestLine()
    {
        QFETCH(QString, text);
        append(text);
        QCOMPARE(distanceToEnd(), 0);
        m_transcript->resize(500, 200);
        m_transcript->resize(300, 500);
        append(text);
        QCOMPARE(distanceToEnd(), 0);
        m_transcript->setPalette(QPalette(Qt::black));
        enlargeFont();
        settle();
        QCOMPARE(distanceToEnd(), 0);
        m_transcript->selectAll();
        m_transcript->appendBody(u"a\n"_s.repeated(400), true, ChatColour::Text); // in one turn
        settle();
        QCOMPARE(distanceToEnd(), 0);
    }

    void staysWhereThePersonReads_data()
    {
        QTest::addColumn<bool>("byKeyboard");
        QTest::addColumn<bool>("isSelected");
        QTest::newRow("dragged") << false << false;
        QTest::newRow("dragged, all selected") << false << true;
        QTest::newRow("keyboard") << true << false;
    }
    void staysWhereThePersonReads()
    {
        QFETCH(bool, byKeyboard);
        QFETCH(bool, isSelected);
        const QString text = u"lorem ipsum "_s.repeated(5'000) + u"a\n"_s.repeated(3'000);
        append(text);
        if (isSelected) {
            m_transcript->selectAll();
        }
        if (byKeyboard) {
            for (int i = 0; i < 60; ++i) {
                QTest::keyClick(m_transcript.get(), Qt::Key_Up);
            }
        } else {
            m_bar->setSliderPosition(m_bar->maximum() * 4 / 5);
        }
        QVERIFY(distanceToEnd() > 100);
        const int block = blockAtTop();
        enlargeFont();
        QCOMPARE(blockAtTop(), block);
        m_transcript->resize(500, 200);
        m_transcript->resize(300, 500);
        settle();
        QCOMPARE(blockAtTop(), block);
        const int read = m_bar->value();
        m_transcript->setPalette(QPalette(Qt::black));
        append(text);
        QCOMPARE(m_bar->value(), read);
        // Back at the end, new lines are followed again.
        if (byKeyboard) {
            QTest::keyClick(m_transcript.get(), Qt::Key_End, Qt::ControlModifier);
        } else {
            m_bar->triggerAction(QScrollBar::SliderToMaximum);
        }
        append(text);
        QCOMPARE(distanceToEnd(), 0);
    }

    void showsAnotherWidthAtOnce_data()
    {
        QTest::addColumn<bool>("isAtEnd");
        QTest::newRow("the newest line") << true;
        QTest::newRow("where the person reads") << false;
    }
    void showsAnotherWidthAtOnce()
    {
        QFETCH(bool, isAtEnd);
        for (int i = 0; i < 2'000; ++i) {
            const QString text = u"word %1, "_s.arg(i).repeated(1 + i % 7);
            m_transcript->appendBody(text, i % 3 != 0, ChatColour::Text);
        }
        settle();
        if (!isAtEnd) {
            m_bar->setSliderPosition(m_bar->maximum() / 2);
        }
        const int height = m_bar->maximum();
        for (const int width : {500, 280, 360}) {
            m_transcript->resize(width, 370);
            const QImage atOnce = m_transcript->viewport()->grab().toImage();
            settle();
            QCOMPARE(m_transcript->viewport()->grab().toImage(), atOnce);
        }
        QCOMPARE(m_bar->maximum(), height);

        // What is seen is where it can be pointed at, also by a screen reader.
        const QTextCursor found = m_transcript->cursorForPosition({100, 100});
        const QPoint place = m_transcript->cursorRect(found).center();
        QTest::mouseDClick(m_transcript->viewport(), Qt::LeftButton, {}, place);
        QVERIFY(m_transcript->textCursor().hasSelection());
        QCOMPARE(m_transcript->textCursor().blockNumber(), found.blockNumber());
        QAccessibleTextInterface* const reader =
            QAccessible::queryAccessibleInterface(m_transcript.get())->textInterface();
        const QRect character = reader->characterRect(found.position());
        QVERIFY(
            character.adjusted(-2, 0, 0, 0).contains(m_transcript->viewport()->mapToGlobal(place)));
    }
};

QTEST_MAIN(TestTranscript)
#include "tst_transcript.moc"
