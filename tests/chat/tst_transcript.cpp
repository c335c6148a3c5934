#include "chat/ChatTranscript.h"

#include <QAbstractTextDocumentLayout>
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
        const int read = m_bar->value();
        QVERIFY(distanceToEnd() > 100);
        enlargeFont(); // for a moment the text is much lower than it was
        settle();
        QCOMPARE(m_bar->value(), read);
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
};

QTEST_MAIN(TestTranscript)
#include "tst_transcript.moc"
