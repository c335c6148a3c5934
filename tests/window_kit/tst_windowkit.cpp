#include "window_kit/InputGuard.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

// The parts of windows, each without the others; shown text has a test of its own.
class TestWindowKit : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aGuardDropsTextAndIsNeverWeakened()
    {
        QWidget window;
        QLineEdit field(&window);
        QPushButton button(&window);
        int presses = 0;
        InputGuard guard(&window);
        guard.connectButton(&button, [&presses] { ++presses; });
        guard.begin(InputGuard::Inputs::KeyboardAndMouse);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        guard.begin(InputGuard::Inputs::Keyboard); // the mouse is kept out as before
        QTest::mouseClick(&field, Qt::LeftButton);
        QInputMethodEvent composed;
        composed.setCommitString(u"한"_s);
        QCoreApplication::sendEvent(&field, &composed);
        QTest::keyClicks(&field, u"x"_s);
        button.click(); // as a screen reader does: without an event
        QVERIFY(field.text().isEmpty() && presses == 0);
        QTRY_VERIFY(!guard.isOn());
        QCoreApplication::sendEvent(&field, &composed);
        QTest::keyClicks(&field, u"x"_s);
        button.click();
        QVERIFY(field.text() == u"한x" && presses == 1);

        guard.begin(InputGuard::Inputs::Keyboard);
        QTest::mouseClick(&field, Qt::LeftButton);
        QTest::keyClicks(&field, u"y"_s); // who clicks in a window means it
        QCOMPARE(field.text(), u"한xy"_s);
    }

    void lettersAreFreeAndOnTheKeyboard()
    {
        const std::pair<QStringList, QStringList> cases[] = {
            {{u"Cancel"_s, u"Apply"_s}, {u"&Cancel"_s, u"&Apply"_s}},
            {{u"Save"_s, u"Stop all"_s}, {u"&Save"_s, u"Stop &all"_s}},
            {{u"Start"_s, u"Stat"_s, u"STA"_s}, {u"&Start"_s, u"S&tat"_s, u"ST&A"_s}},
            {{u"a"_s, u"A"_s}, {u"&a"_s, u"A"_s}}, // none left
            {{u"Événement"_s}, {u"É&vénement"_s}},
            {{u"확인"_s, u"12"_s, QString()}, {u"확인"_s, u"12"_s, QString()}},
            {{u"A & B"_s, u"&"_s}, {u"&A && B"_s, u"&&"_s}},
        };
        for (const auto& [texts, expected] : cases) {
            QWidget window;
            QList<QPushButton*> buttons;
            QList<Mnemonics::Named> named;
            for (const QString& text : texts) {
                buttons.append(new QPushButton(&window));
                named.append({buttons.last(), text});
            }
            for (int time = 0; time < 2; ++time) { // the language's change sets them again
                Mnemonics::setTexts(named);
                for (qsizetype i = 0; i < buttons.size(); ++i) {
                    QCOMPARE(buttons[i]->text(), expected[i]);
                }
            }
        }
    }

    void cascade()
    {
        const std::pair<QRect, QSize> screens[] = {
            {{0, 30, 1920, 1050}, {360, 480}},
            {{0, 0, 800, 570}, {360, 480}},
            {{-800, -40, 800, 600}, {400, 200}}, // left of the primary screen
            {{0, 0, 1024, 600}, {600, 568}},     // as high as the screen
        };
        for (const auto& [area, window] : screens) {
            for (const QPoint& first :
                 {Placement::centre(area, window), Placement::leftSide(area, window)}) {
                QList<QPoint> taken;
                for (int i = 0; i < 12; ++i) {
                    const QPoint place = Placement::cascade(area, window, first, taken);
                    QVERIFY(area.contains(QRect(place, window)));
                    for (const QPoint& other : taken) { // each one's title bar is seen
                        QVERIFY((place - other).manhattanLength() >= 32);
                    }
                    taken.append(place);
                }
                QCOMPARE(taken.constFirst(), first);
                // The place of a window that has gone is the next one's.
                const QPoint gone = taken.takeAt(3);
                QCOMPARE(Placement::cascade(area, window, first, taken), gone);
            }
        }
    }

    void titleBarOfALargeWindowCanBeReached()
    {
        const QRect area(5, 6, 300, 200);
        const QSize window(360, 480);
        QCOMPARE(Placement::centre(area, window), area.topLeft());
        const QPoint first = Placement::leftSide(area, window);
        QCOMPARE(first, area.topLeft());
        QCOMPARE(Placement::cascade(area, window, first, {first}), first);
    }
};

QTEST_MAIN(TestWindowKit)
#include "tst_windowkit.moc"
