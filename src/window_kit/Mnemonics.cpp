#include "window_kit/Mnemonics.h"

#include <QVariant>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

// Where its letter stands in the text; -1 where none is free.
qsizetype placeOfLetter(const QString& text, const QString& taken)
{
    for (const bool isFirstOfWord : {true, false}) {
        for (qsizetype index = 0; index < text.size(); ++index) {
            const QChar letter = text[index].toLower();
            const bool isFirst = index == 0 || !text[index - 1].isLetterOrNumber();
            if (letter >= u'a' && letter <= u'z' && isFirst == isFirstOfWord &&
                !taken.contains(letter)) {
                return index;
            }
        }
    }
    return -1;
}

} // namespace

QString Mnemonics::plain(QString text)
{
    return text.replace(u'&', u"&&"_s);
}

void Mnemonics::setTexts(const QList<Named>& texts)
{
    QString taken;
    for (const auto& [widget, text] : texts) {
        QString shown = plain(text);
        if (const qsizetype place = placeOfLetter(text, taken); place >= 0) {
            taken += text[place].toLower();
            shown = plain(text.first(place)) + u'&' + plain(text.sliced(place));
        }
        widget->setProperty("text", shown); // a button's and a label's alike
    }
}
