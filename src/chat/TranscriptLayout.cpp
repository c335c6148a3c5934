#include "chat/TranscriptLayout.h"

#include <QPainter>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// How many characters are laid out in one turn of the event loop, and what a block costs beside
// its characters.
constexpr int kAtOnce = 16'000;
constexpr int kBlockCost = 20;

// A width before the window has one.
constexpr qreal kUnlimited = 1'000'000;

bool isBroken(const QTextBlock& block)
{
    return block.layout()->lineCount() > 0;
}

// What the context selects in the block.
QList<QTextLayout::FormatRange>
selectionsIn(const QTextBlock& block, const QAbstractTextDocumentLayout::PaintContext& context)
{
    QList<QTextLayout::FormatRange> ranges;
    for (const auto& selection : context.selections) {
        const int start = selection.cursor.selectionStart() - block.position();
        const int end = selection.cursor.selectionEnd() - block.position();
        if (start < block.length() && end > 0 && start < end) {
            ranges.append({start, end - start, selection.format});
        }
    }
    return ranges;
}

// The line of the block that is nearest to this height within the block.
QTextLine lineAt(const QTextBlock& block, qreal y)
{
    const QTextLayout& lines = *block.layout();
    int i = 0;
    while (i < lines.lineCount() - 1 && lines.lineAt(i + 1).y() <= y) {
        ++i;
    }
    return lines.lineAt(i);
}

} // namespace

TranscriptLayout::TranscriptLayout(QTextDocument* document) : QAbstractTextDocumentLayout(document)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TranscriptLayout::layOutRest);
}

// A document counts the lines of its blocks and finds a block by its line, with few steps among any
// number of blocks. Here each "line" of that count is one pixel of the block's height, so the same
// count finds a block by its place. Line heights and margins are whole numbers.
QTextBlock TranscriptLayout::blockAt(qreal y) const
{
    const int line = std::max(0, static_cast<int>(std::floor(y - document()->documentMargin())));
    const QTextBlock block = document()->findBlockByLineNumber(line);
    return block.isValid() ? block : document()->lastBlock();
}

int TranscriptLayout::top(const QTextBlock& block) const
{
    return qRound(document()->documentMargin()) + block.firstLineNumber();
}

QRectF TranscriptLayout::area(const QTextBlock& block) const
{
    const QTextBlockFormat format = block.blockFormat();
    const qreal page = document()->pageSize().width();
    const qreal left = document()->documentMargin() + format.leftMargin();
    const qreal right = document()->documentMargin() + format.rightMargin();
    return {left, top(block) + format.topMargin(),
            page > 0 ? std::max(1.0, page - left - right) : kUnlimited,
            block.lineCount() - format.topMargin()};
}

QSizeF TranscriptLayout::documentSize() const
{
    const QTextBlock last = document()->lastBlock();
    return {document()->pageSize().width(),
            top(last) + last.lineCount() + document()->documentMargin()};
}

int TranscriptLayout::pageCount() const
{
    return 1;
}

QRectF TranscriptLayout::frameBoundingRect(QTextFrame* /*frame*/) const
{
    return {{}, documentSize()};
}

QRectF TranscriptLayout::blockBoundingRect(const QTextBlock& block) const
{
    if (!block.isValid()) {
        return {};
    }
    ensureBroken(block);
    return area(block);
}

void TranscriptLayout::documentChanged(int from, int /*charsRemoved*/, int charsAdded)
{
    const QTextBlock first = document()->findBlock(from);
    const QTextBlock end = document()->findBlock(from + charsAdded);
    const int blocks =
        (end.isValid() ? end.blockNumber() : document()->blockCount() - 1) - first.blockNumber();
    const bool isSmall = charsAdded + blocks * kBlockCost <= kAtOnce;
    for (QTextBlock block = first; block.isValid() && block.position() <= from + charsAdded;
         block = block.next()) {
        block.layout()->clearLayout();
        if (isSmall) {
            breakLines(block);
        }
    }
    if (!isSmall) {
        m_rest = std::min(m_rest, first.blockNumber());
        m_timer.start(0);
    }
    m_isChanged = true;
    tell();
}

void TranscriptLayout::layOut(int top, int bottom)
{
    for (QTextBlock block = blockAt(top); block.isValid() && this->top(block) < bottom;
         block = block.next()) {
        m_isChanged = breakLines(block) || m_isChanged;
    }
    tell();
}

void TranscriptLayout::layOutRest()
{
    QTextBlock block = document()->findBlockByNumber(m_rest);
    for (int cost = 0; block.isValid() && cost < kAtOnce; block = block.next()) {
        if (breakLines(block)) {
            cost += block.length() + kBlockCost;
            m_isChanged = true;
        }
        // The blocks before have their final height.
        block.layout()->setPosition(area(block).topLeft());
        ++cost;
        ++m_rest;
    }
    if (block.isValid()) {
        m_timer.start(0);
    }
    tell();
}

// Returns whether there was something to do.
bool TranscriptLayout::breakLines(QTextBlock block) const
{
    if (isBroken(block)) {
        return false;
    }
    QTextLayout& lines = *block.layout();
    QTextOption option = document()->defaultTextOption();
    option.setTextDirection(block.textDirection());
    option.setAlignment(block.blockFormat().alignment());
    lines.setTextOption(option);
    const QRectF area = this->area(block);
    lines.setPosition(area.topLeft());
    qreal height = 0;
    lines.beginLayout();
    for (QTextLine line = lines.createLine(); line.isValid(); line = lines.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(area.width());
        line.setPosition({0, height});
        height += line.height();
    }
    lines.endLayout();
    block.setLineCount(qRound(block.blockFormat().topMargin() + height));
    return true;
}

// For operations whose caller expects no signal from them: it comes in the next turn.
void TranscriptLayout::ensureBroken(const QTextBlock& block) const
{
    if (breakLines(block)) {
        m_isChanged = true;
        m_timer.start(0);
    }
}

void TranscriptLayout::tell()
{
    if (std::exchange(m_isChanged, false)) {
        Q_EMIT documentSizeChanged(documentSize());
        Q_EMIT update();
    }
}

void TranscriptLayout::draw(QPainter* painter, const PaintContext& context)
{
    const QRectF clip = context.clip.isValid() ? context.clip : QRectF({}, documentSize());
    painter->setPen(context.palette.color(QPalette::Text));
    for (QTextBlock block = blockAt(clip.top()); block.isValid() && top(block) <= clip.bottom();
         block = block.next()) {
        ensureBroken(block);
        QTextLayout& lines = *block.layout();
        lines.setPosition(area(block).topLeft());
        lines.draw(painter, {}, selectionsIn(block, context), clip);
        if (block.contains(context.cursorPosition)) {
            lines.drawCursor(painter, {}, context.cursorPosition - block.position(),
                             property("cursorWidth").toInt()); // QTextEdit sets it
        }
    }
}

int TranscriptLayout::hitTest(const QPointF& point, Qt::HitTestAccuracy accuracy) const
{
    const QTextBlock block = blockAt(point.y());
    ensureBroken(block);
    const QPointF inBlock = point - area(block).topLeft();
    const QTextLine line = lineAt(block, inBlock.y());
    if (accuracy == Qt::ExactHit && !line.naturalTextRect().contains(inBlock)) {
        return -1;
    }
    return block.position() + line.xToCursor(inBlock.x());
}
