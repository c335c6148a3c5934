#include "window_kit/PlainSelection.h"

#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

QMimeData* plainSelection(const QTextCursor& selection)
{
    const int start = selection.selectionStart();
    const int end = selection.selectionEnd();
    QString text;
    for (QTextBlock block = selection.document()->findBlock(start);
         block.isValid() && block.position() <= end; block = block.next()) {
        if (block.position() > start && block.userState() != kGoesOn) {
            text += u'\n';
        }
        const int from = qMax(start - block.position(), 0);
        const int to = qMin(end - block.position(), block.length() - 1);
        text += block.text().sliced(from, to - from);
    }
    text.replace(QChar(QChar::LineSeparator), u'\n');
    auto* const plain = new QMimeData;
    plain->setText(text);
    return plain;
}
