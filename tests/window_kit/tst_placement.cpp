#include "window_kit/Placement.h"

#include <QTest>

class TestPlacement : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestPlacement)
#include "tst_placement.moc"
