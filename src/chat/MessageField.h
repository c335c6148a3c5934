#pragma once

#include <QLineEdit>

// The field in which a message is typed. Its length can be limited without disturbing an input
// method: no text is changed while a character is being composed. Main thread.
class MessageField : public QLineEdit {
    Q_OBJECT

public:
    explicit MessageField(QWidget* parent = nullptr);

    // Cuts the text to so many characters (grapheme clusters, UAX #29). The caret stays.
    void limitTo(qsizetype characters);

Q_SIGNALS:
    // The text has changed and nothing is being composed.
    void settled();

protected:
    bool event(QEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;

private:
    bool m_isComposing = false;
};
