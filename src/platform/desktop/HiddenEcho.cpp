#include "platform/desktop/HiddenEcho.h"

#include <QAccessible>
#include <QLineEdit>
#include <QString>

namespace {

constexpr QChar kBullet(u'\u2022');

QString bulletsFor(const QString& text)
{
    return QString(text.size(), kBullet);
}

void report(QAccessibleEvent* event);

// To the desktop, which the toolkit informs only while no handler is installed.
void passOn(QAccessibleEvent* event)
{
    QAccessible::installUpdateHandler(nullptr);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(&report);
}

void reportHidden(QAccessibleEvent* event)
{
    QObject* const field = event->object();
    if (field->signalsBlocked()) {
        return;
    }
    switch (event->type()) {
    case QAccessible::TextInserted: {
        const auto* const typed = static_cast<QAccessibleTextInsertEvent*>(event);
        QAccessibleTextInsertEvent hidden(field, typed->changePosition(),
                                          bulletsFor(typed->textInserted()));
        hidden.setCursorPosition(typed->cursorPosition());
        passOn(&hidden);
        break;
    }
    case QAccessible::TextRemoved: {
        const auto* const typed = static_cast<QAccessibleTextRemoveEvent*>(event);
        QAccessibleTextRemoveEvent hidden(field, typed->changePosition(),
                                          bulletsFor(typed->textRemoved()));
        hidden.setCursorPosition(typed->cursorPosition());
        passOn(&hidden);
        break;
    }
    case QAccessible::TextUpdated: {
        const auto* const typed = static_cast<QAccessibleTextUpdateEvent*>(event);
        QAccessibleTextUpdateEvent hidden(field, typed->changePosition(),
                                          bulletsFor(typed->textRemoved()),
                                          bulletsFor(typed->textInserted()));
        hidden.setCursorPosition(typed->cursorPosition());
        passOn(&hidden);
        break;
    }
    case QAccessible::ValueChanged:
        break;
    default:
        passOn(event);
    }
}

void report(QAccessibleEvent* event)
{
    // The tables have taken note of it before, and must not a second time; AT-SPI doesn't know it.
    if (event->type() == QAccessible::TableModelChanged) {
        return;
    }
    const auto* const field = qobject_cast<QLineEdit*>(event->object());
    if (field == nullptr || field->echoMode() == QLineEdit::Normal) {
        passOn(event);
    } else {
        reportHidden(event);
    }
}

} // namespace

void HiddenEcho::install()
{
    QAccessible::installUpdateHandler(&report);
}
