#include "window_kit/Placement.h"

#include <QTest>

class TestPlacement : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cascade_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<QSize>("window");
        QTest::newRow("large screen") << QRect(0, 30, 1920, 1050) << QSize(360, 480);
        QTest::newRow("small screen") << QRect(0, 0, 800, 570) << QSize(360, 480);
        QTest::newRow("left of the primary screen")
            << QRect(-800, -40, 800, 600) << QSize(400, 200);
        QTest::newRow("as high as the screen") << QRect(0, 0, 1024, 600) << QSize(600, 568);
    }
    void cascade()
    {
        QFETCH(QRect, area);
        QFETCH(QSize, window);
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
