#pragma once

#include <QList>
#include <QString>

class QWidget;

// The texts of a window's buttons and of the labels that name its fields, each with a letter that
// presses or goes to it with the Alt key. Main thread.
namespace Mnemonics {

struct Named {
    QWidget* widget; // a QAbstractButton, or a QLabel with a buddy
    QString text;    // plain
};

// Sets all of a window's texts. Each gets a letter that none before it has, if it has one: the
// first of its words if possible. Letters are those of the Latin alphabet, without accents, which
// every keyboard for the language has; a text in another script has none.
void setTexts(const QList<Named>& texts);

// A text without a mnemonic: an ampersand in it is shown as one.
[[nodiscard]] QString plain(QString text);

} // namespace Mnemonics
