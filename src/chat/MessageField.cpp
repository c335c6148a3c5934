#include "chat/MessageField.h"

#include <QInputMethodEvent>
#include <QKeyEvent>

#include <utility>

MessageField::MessageField(QWidget* parent) : QLineEdit(parent)
{
    setTextMargins(4, 0, 4, 0);
    connect(this, &QLineEdit::textChanged, this, [this] {
        if (!m_isComposing) {
            Q_EMIT settled();
        }
    });
}

// Return is the shortcut of a button that reacts a moment later and would send what is typed
// meanwhile, too. So the field takes the key itself.
bool MessageField::event(QEvent* event)
{
    const bool result = QLineEdit::event(event);
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Return) {
        event->accept();
    }
    return result;
}

void MessageField::inputMethodEvent(QInputMethodEvent* event)
{
    // Known before the event is handled: what it commits changes the text at once.
    const bool wasComposing = std::exchange(m_isComposing, !event->preeditString().isEmpty());
    QLineEdit::inputMethodEvent(event);
    if (wasComposing && !m_isComposing) {
        Q_EMIT settled();
    }
}
