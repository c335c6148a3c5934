#include "windows/MessageText.h"

#include "localisation/ShownText.h"
#include "window_kit/PlainSelection.h"

#include <QTextBlock>

void MessageText::setMessage(const QString& text)
{
    const QString shown = ShownText::shown(text);
    const QList<ShownText::Piece> pieces = ShownText::pieces(shown);
    QStringList paragraphs;
    for (const ShownText::Piece& piece : pieces) {
        paragraphs.append(piece.text.toString());
    }
    setPlainText(paragraphs.join(u'\n'));

    QTextBlock block = document()->begin().next();
    for (const ShownText::Piece& before : pieces) {
        block.setUserState(before.endsLine ? 0 : kGoesOn);
        block = block.next();
    }
}

QMimeData* MessageText::createMimeDataFromSelection() const
{
    return plainSelection(textCursor());
}
