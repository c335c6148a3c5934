#include "window_kit/InputGuard.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

class TestInputGuard : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aGuardDropsTextAndIsNeverWeakened()
    {
        QLineEdit field;
        InputGuard guard(&field);
        guard.begin(InputGuard::Inputs::KeyboardAndMouse);
        field.show();
        QVERIFY(QTest::qWaitForWindowExposed(&field));
        guard.begin(InputGuard::Inputs::Keyboard); // the mouse is kept out as before
        QTest::mouseClick(&field, Qt::LeftButton);
        QInputMethodEvent composed;
        composed.setCommitString(u"한"_s);
        QCoreApplication::sendEvent(&field, &composed);
        QTest::keyClicks(&field, u"x"_s);
        QVERIFY(field.text().isEmpty());
        QVERIFY(guard.dropsPress()); // a screen reader's
        QTRY_VERIFY(!guard.isOn());
        QVERIFY(!guard.dropsPress());
        QCoreApplication::sendEvent(&field, &composed);
        QTest::keyClicks(&field, u"x"_s);
        QCOMPARE(field.text(), u"한x"_s);

        guard.begin(InputGuard::Inputs::Keyboard);
        QTest::mouseClick(&field, Qt::LeftButton);
        QTest::keyClicks(&field, u"y"_s); // who clicks in a window means it
        QCOMPARE(field.text(), u"한xy"_s);
    }
};

QTEST_MAIN(TestInputGuard)
#include "tst_inputguard.moc"
