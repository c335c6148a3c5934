#include "window_kit/Mnemonics.h"

#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

class TestMnemonics : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lettersAreFreeAndOnTheKeyboard_data()
    {
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char* name, const QStringList& texts, const QStringList& shown) {
            QTest::newRow(name) << texts << shown;
        };
        row("first letters", {u"Cancel"_s, u"Apply"_s}, {u"&Cancel"_s, u"&Apply"_s});
        row("of a later word", {u"Save"_s, u"Stop all"_s}, {u"&Save"_s, u"Stop &all"_s});
        row("inside", {u"Start"_s, u"Stat"_s, u"STA"_s}, {u"&Start"_s, u"S&tat"_s, u"ST&A"_s});
        row("none left", {u"a"_s, u"A"_s}, {u"&a"_s, u"A"_s});
        row("accents", {u"Événement"_s}, {u"É&vénement"_s});
        row("no Latin letter", {u"확인"_s, u"12"_s, QString()}, {u"확인"_s, u"12"_s, QString()});
        row("ampersands", {u"A & B"_s, u"&"_s}, {u"&A && B"_s, u"&&"_s});
    }

    void lettersAreFreeAndOnTheKeyboard()
    {
        QFETCH(QStringList, texts);
        QFETCH(QStringList, expected);
        QWidget window;
        QList<QPushButton*> buttons;
        QList<Mnemonics::Named> named;
        for (const QString& text : std::as_const(texts)) {
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
};

QTEST_MAIN(TestMnemonics)
#include "tst_mnemonics.moc"
