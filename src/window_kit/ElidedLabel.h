#pragma once

#include <QLabel>

// Gives the widget a tool tip of plain text (ShownText::toolTip()); none for an empty one. Screen
// readers get the same words as its description: of a widget without one they get its tool tip,
// which is markup. Main thread.
void setPlainToolTip(QWidget& widget, const QString& text);

// A label of one line for text from outside. A text that does not fit is elided, and the tool tip
// has it whole.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setFullText(const QString& text);

    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;

private:
    // At each change of text, size and font. The full text is the label's accessible name.
    virtual void elide();
};
