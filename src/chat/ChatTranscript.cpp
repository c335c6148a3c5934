#include "chat/ChatTranscript.h"

#include "chat/TranscriptLayout.h"
#include "window_kit/PlainSelection.h"
#include "window_kit/ShownText.h"

#include <QEvent>
#include <QFocusEvent>
#include <QFontInfo>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace {

// Points.
constexpr int kDocumentMargin = 16;
constexpr int kPaddingX = 12;
constexpr int kPaddingY = 6;
constexpr int kRadius = 10;
constexpr int kFarSide = 40; // what a message leaves free on the other side
constexpr qreal kHeaderSize = 14;

constexpr int kKind = QTextFormat::UserProperty + 1;
constexpr int kColour = QTextFormat::UserProperty + 2;
// Where a block goes on with the text of the one before it: in the same line or after a line break.
constexpr int kContinues = QTextFormat::UserProperty + 3;
enum Continuation { InLine = 1, NextLine };

int continuationOf(const QTextBlock& block)
{
    return block.blockFormat().intProperty(kContinues);
}

} // namespace

ChatTranscript::ChatTranscript(QWidget* parent)
    : QTextEdit(parent), m_layout(new TranscriptLayout(document()))
{
    m_layout->setPaintDevice(viewport()); // whose resolution fonts have
    document()->setDocumentLayout(m_layout);
    setFrameShape(QFrame::NoFrame);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document()->setDocumentMargin(kDocumentMargin);
    // The interface has a scroll view, "Messages", with a text view in it. Here one widget is both,
    // and its document has the text view's name.
    document()->setObjectName(u"textMessages"_s);

    m_writeTimer.setSingleShot(true);
    connect(&m_writeTimer, &QTimer::timeout, this, &ChatTranscript::write);
    const QScrollBar* const bar = verticalScrollBar();
    // Not valueChanged(): the layout moves the bar, too.
    connect(bar, &QScrollBar::actionTriggered, this, &ChatTranscript::notePlace);
    connect(bar, &QScrollBar::rangeChanged, this, &ChatTranscript::keepPlace);
    connect(m_layout, &TranscriptLayout::documentSizeChanged, this, &ChatTranscript::keepPlace);
}

void ChatTranscript::appendHeader(const QString& sender, bool isLeft, ChatColour colour)
{
    QTextCharFormat characters;
    // Not smaller than what is said below it.
    characters.setFontPointSize(std::max(kHeaderSize, QFontInfo(font()).pointSizeF()));
    characters.setFontWeight(QFont::Bold);
    characters.setProperty(kColour, static_cast<int>(colour));
    append(ShownText::line(sender), Kind::Header, isLeft, characters);
}

void ChatTranscript::appendBody(const QString& text, bool isLeft, ChatColour colour)
{
    QTextCharFormat characters;
    characters.setProperty(kColour, static_cast<int>(colour));
    const Kind message = isLeft ? Kind::OperatorsMessage : Kind::OwnMessage;
    append(ShownText::shown(text), colour == ChatColour::Text ? message : Kind::Notice, isLeft,
           characters);
}

void ChatTranscript::showNewest()
{
    m_place.reset();
    keepPlace();
}

// The person has scrolled.
void ChatTranscript::notePlace()
{
    const QScrollBar& bar = *verticalScrollBar();
    // The caret in the last line leaves the margin below it out of sight.
    const bool isAtEnd = bar.sliderPosition() >= bar.maximum() - kDocumentMargin;
    if (isAtEnd) {
        m_place.reset();
        return;
    }
    const QTextBlock block = m_layout->blockAt(bar.sliderPosition());
    m_place = {block.blockNumber(), bar.sliderPosition() - m_layout->top(block)};
}

// The text is laid out step by step, and until the end of that some heights are wrong.
void ChatTranscript::keepPlace()
{
    QScrollBar& bar = *verticalScrollBar();
    if (m_place) {
        const QTextBlock block = document()->findBlockByNumber(m_place->block);
        bar.setValue(m_layout->top(block) + std::min(m_place->offset, block.lineCount()));
    } else {
        bar.setValue(bar.maximum());
    }
    layOutView();
}

// Where this changes a height, keepPlace() is called again, until all that is seen is laid out.
void ChatTranscript::layOutView()
{
    const int top = verticalScrollBar()->value();
    // The background of a block out of sight can be in sight.
    m_layout->layOut(top - kPaddingY, top + viewport()->height() + kPaddingY);
}

void ChatTranscript::resizeEvent(QResizeEvent* event)
{
    QTextEdit::resizeEvent(event);
    keepPlace();
}

void ChatTranscript::scrollContentsBy(int dx, int dy)
{
    QTextEdit::scrollContentsBy(dx, dy);
    layOutView();
}

bool ChatTranscript::isMessage(Kind kind)
{
    return kind == Kind::OperatorsMessage || kind == Kind::OwnMessage;
}

ChatTranscript::Kind ChatTranscript::kindOf(const QTextBlock& block)
{
    return static_cast<Kind>(block.blockFormat().intProperty(kKind));
}

void ChatTranscript::append(const QString& shown, Kind kind, bool isLeft,
                            const QTextCharFormat& characters)
{
    QTextBlockFormat format = formatAfter(std::exchange(m_lastKind, kind), kind, isLeft);
    for (const ShownText::Piece& piece : ShownText::pieces(shown)) {
        m_waiting.push_back({piece.text.toString(), format, characters});
        format.setTopMargin(0);
        format.setProperty(kContinues, piece.endsLine ? NextLine : InLine);
    }
    if (!m_writeTimer.isActive()) {
        write();
    }
}

QTextBlockFormat ChatTranscript::formatAfter(Kind before, Kind kind, bool isLeft) const
{
    qreal gap = 8;
    if (before == Kind::None) {
        gap = 0;
    } else if (kind == Kind::Header) {
        gap = 16;
    } else if (before == Kind::Header || (isMessage(kind) && isMessage(before))) {
        gap = 4;
    }
    gap += isMessage(before) ? kPaddingY : 0;

    QTextBlockFormat format;
    format.setProperty(kKind, static_cast<int>(kind));
    // Absolute: otherwise left is right for a script that runs from right to left.
    format.setAlignment((isLeft ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute);
    format.setTopMargin(gap + (isMessage(kind) ? kPaddingY : 0));
    if (isMessage(kind)) {
        format.setLeftMargin(isLeft ? kPaddingX : kFarSide + kPaddingX);
        format.setRightMargin(isLeft ? kFarSide + kPaddingX : kPaddingX);
    }
    if (kind == Kind::Notice) {
        // A name that runs from right to left does not turn the whole sentence round.
        format.setLayoutDirection(Qt::LeftToRight);
    }
    return format;
}

// Writes the first waiting block with a cursor of its own: the view stays read-only. What the
// person has selected stays as it is; a selection up to the end would take in what is written
// there.
void ChatTranscript::write()
{
    const QTextCursor selection = textCursor();
    const bool wouldGrow =
        selection.hasSelection() && selection.selectionEnd() == document()->characterCount() - 1;
    const int anchor = selection.anchor();
    const int position = selection.position();

    writeBlock(m_waiting.front());
    m_waiting.pop_front();
    if (!m_waiting.empty()) {
        m_writeTimer.start(0); // in the next turn of the event loop
    }

    if (wouldGrow) {
        QTextCursor kept(document());
        kept.setPosition(anchor);
        kept.setPosition(position, QTextCursor::KeepAnchor);
        setTextCursor(kept); // scrolls to the selection
        keepPlace();
    }
}

void ChatTranscript::writeBlock(const Block& block)
{
    QTextCharFormat characters = block.characters;
    const auto colour = static_cast<ChatColour>(characters.intProperty(kColour));
    if (colour != ChatColour::Text) {
        characters.setForeground(ChatColours::line(colour, palette()));
    }
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    if (std::exchange(m_isEmpty, false)) {
        cursor.setBlockFormat(block.format);
        cursor.setBlockCharFormat(characters);
    } else {
        cursor.insertBlock(block.format, characters);
    }
    cursor.insertText(block.text, characters);
    cursor.endEditBlock();
}

QTextBlock ChatTranscript::firstBlockAt(qreal y) const
{
    QTextBlock block = m_layout->blockAt(y);
    // The block before may reach down to here, and a message is painted from its first block.
    if (block.previous().isValid()) {
        block = block.previous();
    }
    while (continuationOf(block) != 0) {
        block = block.previous();
    }
    return block;
}

// The background of the message from the first to the last block.
QRectF ChatTranscript::bubbleOf(const QTextBlock& first, const QTextBlock& last) const
{
    QRectF text;
    for (QTextBlock block = first; block != last.next(); block = block.next()) {
        const QTextLayout* const lines = block.layout();
        for (int i = 0; i < lines->lineCount(); ++i) {
            text |= lines->lineAt(i).naturalTextRect();
        }
    }
    // Its blocks have the same margins. Some may have no lines yet, but all have a height.
    const QRectF top = m_layout->area(first);
    text.translate(top.left(), 0);
    text.setTop(top.top());
    text.setBottom(m_layout->area(last).bottom());
    return text.adjusted(-kPaddingX, -kPaddingY, kPaddingX, kPaddingY);
}

void ChatTranscript::paintEvent(QPaintEvent* event)
{
    paintBubbles(event->rect());
    QTextEdit::paintEvent(event);
}

void ChatTranscript::paintBubbles(const QRect& area)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const int scrolled = verticalScrollBar()->value();
    const QRectF exposed = area.translated(0, scrolled);
    painter.translate(0, -scrolled);
    const QColor own = ChatColours::bubble(true, palette());
    const QColor operators = ChatColours::bubble(false, palette());
    QTextBlock last;
    for (QTextBlock first = firstBlockAt(exposed.top()); first.isValid(); first = last.next()) {
        last = first;
        while (continuationOf(last.next()) != 0) {
            last = last.next();
        }
        const QRectF bubble = bubbleOf(first, last);
        if (bubble.top() > exposed.bottom()) {
            break;
        }
        if (isMessage(kindOf(first))) {
            painter.setBrush(kindOf(first) == Kind::OwnMessage ? own : operators);
            painter.drawRoundedRect(bubble, kRadius, kRadius);
        }
    }
}

void ChatTranscript::changeEvent(QEvent* event)
{
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        recolour();
    }
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

// The caret is shown to a person who selects with the keyboard.
void ChatTranscript::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    setCursorWidth(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ? 1 : 0);
    QTextEdit::focusInEvent(event);
}

// Gives the notices the new palette's colours. Messages follow the palette by themselves.
void ChatTranscript::recolour()
{
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const QTextCharFormat characters = block.charFormat();
        const auto colour = static_cast<ChatColour>(characters.intProperty(kColour));
        if (colour != ChatColour::Text) {
            QTextCharFormat coloured;
            coloured.setForeground(ChatColours::line(colour, palette()));
            cursor.setPosition(block.position());
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.mergeCharFormat(coloured);
        }
    }
    cursor.endEditBlock();
}

QMimeData* ChatTranscript::createMimeDataFromSelection() const
{
    return plainSelection(textCursor(),
                          [](const QTextBlock& block) { return continuationOf(block) == InLine; });
}
