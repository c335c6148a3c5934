#pragma once

#include "chat/ChatColours.h"

#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QTimer>

#include <deque>
#include <optional>

class QTextBlock;
class TranscriptLayout;

// What has been said in a chat: read-only, selectable across lines, plain text always.
//
// Operators' messages and all notices stand on the left, the person's own messages on the right,
// also where their script runs from right to left. Messages have a background, notices a colour.
//
// A new line costs the same however many there are, and so does another width. A long text is
// written in several turns of the event loop, so that the program never stops for long, and what
// comes after it waits for its end.
//
// The newest line stays in sight. Once the person has scrolled up to read, the block at the upper
// edge stays where it is. Main thread.
class ChatTranscript : public QTextEdit {
    Q_OBJECT

public:
    explicit ChatTranscript(QWidget* parent = nullptr);

    // The line that says who speaks from here on.
    void appendHeader(const QString& sender, bool isLeft, ChatColour colour);
    // What is said, or a notice.
    void appendBody(const QString& text, bool isLeft, ChatColour colour);

    // Scrolls to the newest line, wherever the person is reading.
    void showNewest();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

private:
    enum class Kind { None, Header, Notice, OperatorsMessage, OwnMessage };

    // A block of the document that is still to be written.
    struct Block {
        QString text;
        QTextBlockFormat format;
        QTextCharFormat characters;
    };

    // What the person has scrolled to: a block by its number, and how much of it is above the edge.
    struct Place {
        int block = 0;
        int offset = 0;
    };

    static bool isMessage(Kind kind);
    static Kind kindOf(const QTextBlock& block);
    void append(const QString& shown, Kind kind, bool isLeft, const QTextCharFormat& characters);
    [[nodiscard]] QTextBlockFormat formatAfter(Kind before, Kind kind, bool isLeft) const;
    void notePlace();
    void keepPlace();
    void layOutView();
    void write();
    void writeBlock(const Block& block);
    [[nodiscard]] QTextBlock firstBlockAt(qreal y) const;
    [[nodiscard]] QRectF bubbleOf(const QTextBlock& first, const QTextBlock& last) const;
    void paintBubbles(const QRect& area);
    void recolour();

    TranscriptLayout* const m_layout; // the document's
    std::deque<Block> m_waiting;
    QTimer m_writeTimer;
    Kind m_lastKind = Kind::None; // of the last block, written or waiting
    bool m_isEmpty = true;
    std::optional<Place> m_place; // none at the newest line
};
