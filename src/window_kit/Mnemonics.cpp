#include "window_kit/Mnemonics.h"

#include <QAbstractButton>
#include <QLabel>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Where the letter stands in the text, and which it is.
struct Place {
    qsizetype index;
    QChar letter;
};

std::optional<Place> freeLetter(const QString& text, const QString& taken)
{
    for (const bool isFirstOfWord : {true, false}) {
        for (qsizetype index = 0; index < text.size(); ++index) {
            const QChar letter = text[index].toLower();
            const bool isFirst = index == 0 || !text[index - 1].isLetterOrNumber();
            if (letter >= u'a' && letter <= u'z' && isFirst == isFirstOfWord &&
                !taken.contains(letter)) {
                return Place{index, letter};
            }
        }
    }
    return std::nullopt;
}

void setText(QWidget* widget, const QString& text)
{
    if (auto* const button = qobject_cast<QAbstractButton*>(widget)) {
        if (button->text() != text) {
            button->setText(text);
        }
    } else if (auto* const label = qobject_cast<QLabel*>(widget)) {
        label->setText(text);
    }
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
        const auto place = freeLetter(text, taken);
        if (!place) {
            setText(widget, plain(text));
            continue;
        }
        taken += place->letter;
        setText(widget, plain(text.first(place->index)) + u'&' + plain(text.sliced(place->index)));
    }
}
