#pragma once

#include <QString>
#include <QTextCursor>
#include <QTextEdit>

// Why a line of a transcript has a colour. The colour itself depends on the palette.
enum class ChatColour {
    Text,  // what somebody says
    Green, // somebody has joined
    Red,   // somebody has left
};

// What has been said in a chat: read-only, selectable across lines, plain text always.
//
// Operators' messages and all notices stand on the left, the user's own messages on the right, also
// where their script runs from right to left. Messages have a background, notices a colour.
//
// The newest line stays in sight. Once the user has scrolled up to read, the line at the upper edge
// stays where it is, until the user scrolls down again or says something. Main thread.
class ChatTranscript : public QTextEdit {
    Q_OBJECT

public:
    // The newest lines that are kept; a text of more than 1,000 characters counts as several.
    static constexpr int kMostLines = 2'000;

    explicit ChatTranscript(QWidget* parent = nullptr);

    // The line that says who speaks from here on.
    void appendHeader(const QString& sender, bool isLeft);
    // What is said, or a notice.
    void appendBody(const QString& text, bool isLeft, ChatColour colour);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

private:
    enum class Kind { Header, Message, Notice };

    void append(const QString& shown, Kind kind, bool isLeft, ChatColour colour);
    void keepSelection();
    [[nodiscard]] int positionAt(qreal y) const;
    [[nodiscard]] int topOf(const QTextCursor& place) const;
    void notePlace();
    void keepPlace();
    void paintBubbles(const QRectF& area);

    QTextCursor m_place; // what the user reads at the upper edge; null at the newest line
    int m_above = 0;     // how much of that line is above the edge, in pixels
};
