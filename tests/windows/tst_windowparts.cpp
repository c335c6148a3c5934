#include "window_kit/InputGuard.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"
#include "windows/ArrivalTime.h"
#include "windows/ConnectionStatus.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

// The parts of windows, each without the others.
class TestWindowParts : public QObject {
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
            {{u"Save"_s, u"Stop all"_s, u"sa"_s},
             {u"&Save"_s, u"Stop &all"_s, u"sa"_s}}, // none left
            {{u"Événement"_s, u"확인"_s}, {u"É&vénement"_s, u"확인"_s}},
            {{u"A & B"_s, u"&"_s}, {u"&A && B"_s, u"&&"_s}},
        };
        for (const auto& [texts, expected] : cases) {
            QWidget window;
            QList<Mnemonics::Named> named;
            for (const QString& text : texts) {
                named.append({new QPushButton(&window), text});
            }
            Mnemonics::setTexts(named);
            for (qsizetype i = 0; i < named.size(); ++i) {
                QCOMPARE(qobject_cast<QPushButton*>(named[i].widget)->text(), expected[i]);
            }
        }
    }

    void titleBarsCanBeReached()
    {
        const QRect area(-800, -40, 800, 600); // left of the primary screen
        const QSize window(400, 200);
        QList<QPoint> taken;
        for (int i = 0; i < 12; ++i) {
            const QPoint place =
                Placement::cascade(area, window, Placement::leftSide(area, window), taken);
            QVERIFY(area.contains(QRect(place, window)) && !taken.contains(place));
            taken.append(place);
        }
        const QPoint gone = taken.takeAt(3); // whose place is the next one's
        QCOMPARE(Placement::cascade(area, window, taken.constFirst(), taken), gone);
        QCOMPARE(Placement::centre({5, 6, 300, 200}, window), QPoint(5, 6)); // too wide
    }

    void clockTexts()
    {
        for (const auto& [seconds, text] : {std::pair(1.0, QString()),
                                            {1.001, u"0:01"_s},
                                            {90061.0, u"1:01:01:01"_s},
                                            {1e300, QString()}}) {
            QCOMPARE(elapsedText(seconds).value_or(QString()), text);
        }
    }

    // In zones away from whole hours; the second is known to this system only.
    void timesAreWrittenAsTheLanguageAndTheZoneHaveThem()
    {
        const std::tuple<const char*, const char*, const char*> cases[] = {
            {"America/St_Johns", "en-GB", "30 June 2025 at 21:30:00"},
            {"XYZ-5:15", "pt_BR", "01 de julho de 2025 às 05:15:00"},
            {"XYZ-5:15", "C", "July 01, 2025 at 05:15:00"},
            {"XYZ-5:15", "ja-JP-u-ca-japanese", "令和7年7月01日 5:15:00"},
        };
        for (const auto& [zone, language, text] : cases) {
            qputenv("TZ", zone);
            QCOMPARE(arrivalTime(QDateTime::fromSecsSinceEpoch(1'751'328'000),
                                 QLatin1StringView(language)),
                     QString::fromUtf8(text));
        }
    }
};

QTEST_MAIN(TestWindowParts)
#include "tst_windowparts.moc"
