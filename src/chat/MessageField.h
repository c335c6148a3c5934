#pragma once

#include <QLineEdit>

// The field in which a message is typed. It tells of no change while a character is being composed,
// so that whoever limits its length disturbs no input method. Main thread.
class MessageField : public QLineEdit {
    Q_OBJECT

public:
    explicit MessageField(QWidget* parent = nullptr);

Q_SIGNALS:
    // The text has changed and nothing is being composed.
    void settled();

protected:
    bool event(QEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;

private:
    bool m_isComposing = false;
};
