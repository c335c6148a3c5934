#pragma once

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTimer>

// Breaks the lines of a transcript's blocks and says where each block stands.
//
// Qt's own layout breaks all lines before it can show the last one. This one breaks the lines that
// are in sight at once, and the rest in short turns of the event loop. Until then a block keeps the
// height that it had. documentSizeChanged() is emitted whenever a height may have changed.
//
// Blocks stand one below the other, with the margins, the alignment and the direction of their
// formats. There are no tables, lists, frames or pictures. The document owns it. Main thread.
class TranscriptLayout : public QAbstractTextDocumentLayout {
    Q_OBJECT

public:
    explicit TranscriptLayout(QTextDocument* document);

    // The block at this height; the first or the last one beyond the text.
    [[nodiscard]] QTextBlock blockAt(qreal y) const;
    // Where the block's top margin begins.
    [[nodiscard]] int top(const QTextBlock& block) const;
    // Where the block's lines stand, broken or not: as wide as they can be.
    [[nodiscard]] QRectF area(const QTextBlock& block) const;
    // Breaks the lines between these heights.
    void layOut(int top, int bottom);

    void draw(QPainter* painter, const PaintContext& context) override;
    [[nodiscard]] int hitTest(const QPointF& point, Qt::HitTestAccuracy accuracy) const override;
    [[nodiscard]] int pageCount() const override;
    [[nodiscard]] QSizeF documentSize() const override;
    [[nodiscard]] QRectF frameBoundingRect(QTextFrame* frame) const override;
    // Breaks the block's lines if they are not: so Qt moves its caret through them.
    [[nodiscard]] QRectF blockBoundingRect(const QTextBlock& block) const override;

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

private:
    void layOutRest();
    bool breakLines(QTextBlock block) const;
    void ensureBroken(const QTextBlock& block) const;
    void tell();

    // Some operations that Qt declares constant have to break lines first.
    mutable QTimer m_timer;
    mutable bool m_isChanged = false; // since documentSizeChanged() was emitted
    int m_rest = 0;                   // in the blocks before this one all lines are broken
};
