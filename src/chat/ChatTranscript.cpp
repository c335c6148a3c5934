#include "chat/ChatTranscript.h"

#include "localisation/ShownText.h"
#include "window_kit/Contrast.h"
#include "window_kit/PlainSelection.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QFocusEvent>
#include <QFontInfo>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace {

// Pixels.
constexpr int kDocumentMargin = 16;
constexpr int kPaddingX = 12;
constexpr int kPaddingY = 6;
constexpr int kRadius = 10;
constexpr int kFarSide = 40; // what a message leaves free on the other side
// Points.
constexpr qreal kHeaderSize = 14;

// The kinds' green and red, as everywhere in the agent.
constexpr QColor kGreen(0x1e, 0x85, 0x48);
constexpr QColor kRed(0xd6, 0x3a, 0x31);

// A block's properties.
constexpr int kIsMessage = QTextFormat::UserProperty + 1;
constexpr int kColour = QTextFormat::UserProperty + 2;
// The user state of a block that goes on with the text of the one before it after a line break.
constexpr int kNextLine = kGoesOn + 1;

bool isContinuation(const QTextBlock& block)
{
    return block.userState() >= kGoesOn;
}

// Where the block's text is, without what its lines leave free.
QRectF textRect(const QTextBlock& block)
{
    const QTextLayout& lines = *block.layout();
    QRectF rect;
    for (int i = 0; i < lines.lineCount(); ++i) {
        rect |= lines.lineAt(i).naturalTextRect();
    }
    return rect.translated(lines.position());
}

QBrush noticeBrush(const QTextBlockFormat& format, const QPalette& palette)
{
    const bool isGreen = format.intProperty(kColour) == static_cast<int>(ChatColour::Green);
    return Contrast::readable(isGreen ? kGreen : kRed, palette.color(QPalette::Base));
}

// A message's background; that of the user's own messages is tinted with the accent.
QColor bubbleColour(bool isOwn, const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    const QColor tint = isOwn ? Contrast::mixed(base, palette.color(QPalette::Highlight), 0.2F)
                              : Contrast::mixed(base, text, 0.08F);
    // Where the palette has little contrast of its own, the background stays as it is.
    return Contrast::ratio(text, tint) >= Contrast::kReadable ? tint : base;
}

} // namespace

ChatTranscript::ChatTranscript(QWidget* parent) : QTextEdit(parent)
{
    document()->setDocumentMargin(kDocumentMargin);
    document()->setMaximumBlockCount(kMostLines); // which keeps no undo history
    // The interface has a scroll view, "Messages", with a text view in it. Here one widget is both,
    // and its document has the text view's name.
    document()->setObjectName(u"textMessages"_s);

    const QScrollBar* const bar = verticalScrollBar();
    // Not valueChanged(): the layout moves the bar, too.
    connect(bar, &QScrollBar::actionTriggered, this, &ChatTranscript::notePlace);
    connect(bar, &QScrollBar::rangeChanged, this, &ChatTranscript::keepPlace);
}

void ChatTranscript::appendHeader(const QString& sender, bool isLeft)
{
    append(ShownText::line(sender), Kind::Header, isLeft, ChatColour::Text);
}

void ChatTranscript::appendBody(const QString& text, bool isLeft, ChatColour colour)
{
    append(ShownText::shown(text), colour == ChatColour::Text ? Kind::Message : Kind::Notice,
           isLeft, colour);
}

// Writes with a cursor of its own: the view stays read-only.
void ChatTranscript::append(const QString& shown, Kind kind, bool isLeft, ChatColour colour)
{
    QTextBlockFormat format;
    QTextCharFormat characters;
    // Absolute: otherwise left is right for a script that runs from right to left.
    format.setAlignment((isLeft ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute);
    // The larger one of the margins between two blocks counts.
    switch (kind) {
    case Kind::Header:
        format.setTopMargin(16 + kPaddingY);
        format.setBottomMargin(4 + kPaddingY);
        // Not smaller than what is said below it.
        characters.setFontPointSize(std::max(kHeaderSize, QFontInfo(font()).pointSizeF()));
        characters.setFontWeight(QFont::Bold);
        break;
    case Kind::Message:
        format.setProperty(kIsMessage, true);
        format.setTopMargin(kPaddingY);
        format.setBottomMargin(4 + 2 * kPaddingY);
        format.setLeftMargin(isLeft ? kPaddingX : kFarSide + kPaddingX);
        format.setRightMargin(isLeft ? kFarSide + kPaddingX : kPaddingX);
        break;
    case Kind::Notice:
        format.setProperty(kColour, static_cast<int>(colour));
        format.setBottomMargin(2 * kPaddingY);
        // A name that runs from right to left does not turn the whole sentence round.
        format.setLayoutDirection(Qt::LeftToRight);
        characters.setForeground(noticeBrush(format, palette()));
        break;
    }

    if (!isLeft) {
        m_place = {};
    }
    keepSelection();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    const QList<ShownText::Piece> pieces = ShownText::pieces(shown);
    const qreal bottom = format.bottomMargin();
    int state = 0;
    for (const ShownText::Piece& piece : pieces) {
        format.setBottomMargin(&piece == &pieces.constLast() ? bottom : 0);
        if (document()->isEmpty()) {
            cursor.setBlockFormat(format);
        } else {
            cursor.insertBlock(format);
        }
        cursor.block().setUserState(state);
        cursor.insertText(piece.text.toString(), characters);
        format.setTopMargin(0);
        state = piece.endsLine ? kNextLine : kGoesOn;
    }
    cursor.endEditBlock();
}

// A selection up to the end would take in what is written there.
void ChatTranscript::keepSelection()
{
    QTextCursor selection = textCursor();
    if (selection.keepPositionOnInsert() != selection.hasSelection()) {
        selection.setKeepPositionOnInsert(selection.hasSelection());
        setTextCursor(selection);
    }
}

// The position in the text that is nearest to this height.
int ChatTranscript::positionAt(qreal y) const
{
    return document()->documentLayout()->hitTest({0, y}, Qt::FuzzyHit);
}

// Where the line stands in the document. Lays out what is above it.
int ChatTranscript::topOf(const QTextCursor& place) const
{
    return cursorRect(place).top() + verticalScrollBar()->value();
}

// The user has scrolled.
void ChatTranscript::notePlace()
{
    const QScrollBar& bar = *verticalScrollBar();
    m_place = {};
    // The caret in the last line leaves the margin below it out of sight.
    if (bar.sliderPosition() < bar.maximum() - kDocumentMargin) {
        m_place = QTextCursor(document());
        m_place.setPosition(positionAt(bar.sliderPosition()));
        m_above = bar.sliderPosition() - topOf(m_place);
    }
}

void ChatTranscript::keepPlace()
{
    QScrollBar& bar = *verticalScrollBar();
    // Finishes the layout; until then the scroll bar's range is an estimate.
    document()->documentLayout()->documentSize();
    bar.setValue(m_place.isNull() ? bar.maximum() : topOf(m_place) + m_above);
}

// Keys that move the caret scroll without an action of the scroll bar.
void ChatTranscript::keyPressEvent(QKeyEvent* event)
{
    const int before = verticalScrollBar()->value();
    QTextEdit::keyPressEvent(event);
    if (verticalScrollBar()->value() != before) {
        notePlace();
    }
}

// The caret is shown to a user who selects with the keyboard.
void ChatTranscript::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    setCursorWidth(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ? 1 : 0);
    QTextEdit::focusInEvent(event);
}

void ChatTranscript::paintEvent(QPaintEvent* event)
{
    paintBubbles(event->rect());
    QTextEdit::paintEvent(event);
}

void ChatTranscript::paintBubbles(const QRectF& area)
{
    const int scrolled = verticalScrollBar()->value();
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.translate(0, -scrolled);
    // A background reaches beyond its text.
    const qreal top = area.top() + scrolled - kPaddingY;
    const qreal bottom = area.bottom() + scrolled + kPaddingY;
    QTextBlock block = document()->findBlock(positionAt(top));
    while (isContinuation(block) && block.previous().isValid()) {
        block = block.previous();
    }
    while (block.isValid() && block.layout()->position().y() <= bottom) {
        const QTextBlockFormat format = block.blockFormat();
        QRectF text;
        do {
            text |= textRect(block);
            block = block.next();
        } while (isContinuation(block));
        if (format.boolProperty(kIsMessage)) {
            const bool isOwn = format.alignment().testFlag(Qt::AlignRight);
            painter.setBrush(bubbleColour(isOwn, palette()));
            painter.drawRoundedRect(text.adjusted(-kPaddingX, -kPaddingY, kPaddingX, kPaddingY),
                                    kRadius, kRadius);
        }
    }
}

// Gives the notices a new palette's colours. Messages follow the palette by themselves.
void ChatTranscript::changeEvent(QEvent* event)
{
    QTextEdit::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) {
        return;
    }
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().hasProperty(kColour)) {
            QTextCharFormat coloured;
            coloured.setForeground(noticeBrush(block.blockFormat(), palette()));
            cursor.setPosition(block.position());
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.mergeCharFormat(coloured);
        }
    }
    cursor.endEditBlock();
}

QMimeData* ChatTranscript::createMimeDataFromSelection() const
{
    return plainSelection(textCursor());
}
