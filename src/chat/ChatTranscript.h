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

// What has been said in a chat: read-only, selectable across lines, plain text always.
//
// Operators' messages and all notices stand on the left, the person's own messages on the right,
// also where their script runs from right to left. Messages have a background, notices a colour.
//
// A new line costs the same however many there are. A long text is written in several turns of the
// event loop, so that the program never stops for long, and what comes after it waits for its end.
//
// The newest line stays in sight unless the person has scrolled up to read. Main thread.
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

    static bool isMessage(Kind kind);
    static Kind kindOf(const QTextBlock& block);
    void append(const QString& shown, Kind kind, bool isLeft, const QTextCharFormat& characters);
    [[nodiscard]] QTextBlockFormat formatAfter(Kind before, Kind kind, bool isLeft) const;
    void notePlace();
    void keepPlace();
    void write();
    void writeBlock(const Block& block);
    [[nodiscard]] QTextBlock firstBlockAt(qreal y) const;
    [[nodiscard]] QRectF bubbleOf(const QTextBlock& first, const QTextBlock& last) const;
    void paintBubbles(const QRect& area);
    void recolour();

    std::deque<Block> m_waiting;
    QTimer m_writeTimer;
    Kind m_lastKind = Kind::None; // of the last block, written or waiting
    bool m_isEmpty = true;
    std::optional<int> m_place; // what the person has scrolled to; none at the newest line
};
