#pragma once

#include <QPlainTextEdit>
#include <QString>

// A message's text: read-only, and laid out in pieces, so that a long one costs little. What is
// copied from it is what was sent. Main thread.
class MessageText : public QPlainTextEdit {
    Q_OBJECT

public:
    using QPlainTextEdit::QPlainTextEdit;

    // Any text, made safe to show.
    void setMessage(const QString& text);

protected:
    QMimeData* createMimeDataFromSelection() const override;
};
