#include "platform/desktop/HiddenEcho.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QString>

namespace {

constexpr QChar kBullet(u'\u2022');

QString bulletsFor(const QString& text)
{
    return QString(text.size(), kBullet);
}

bool isHidden(const QObject* object)
{
    const auto* const field = qobject_cast<const QLineEdit*>(object);
    return field != nullptr && field->echoMode() != QLineEdit::Normal;
}

void report(QAccessibleEvent* event);

// To the desktop, which the toolkit informs only while no handler is installed.
void passOn(QAccessibleEvent* event)
{
    QAccessible::installUpdateHandler(nullptr);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(&report);
}

// In place of what was typed.
void passOn(QAccessibleTextCursorEvent&& hidden, const QAccessibleTextCursorEvent& typed)
{
    hidden.setCursorPosition(typed.cursorPosition());
    passOn(&hidden);
}

void reportHidden(QAccessibleEvent* event)
{
    QObject* const field = event->object();
    if (field->signalsBlocked()) {
        return;
    }
    switch (event->type()) {
    case QAccessible::TextInserted: {
        const auto& typed = static_cast<QAccessibleTextInsertEvent&>(*event);
        passOn(QAccessibleTextInsertEvent(field, typed.changePosition(),
                                          bulletsFor(typed.textInserted())),
               typed);
        break;
    }
    case QAccessible::TextRemoved: {
        const auto& typed = static_cast<QAccessibleTextRemoveEvent&>(*event);
        passOn(QAccessibleTextRemoveEvent(field, typed.changePosition(),
                                          bulletsFor(typed.textRemoved())),
               typed);
        break;
    }
    case QAccessible::TextUpdated: {
        const auto& typed = static_cast<QAccessibleTextUpdateEvent&>(*event);
        passOn(QAccessibleTextUpdateEvent(field, typed.changePosition(),
                                          bulletsFor(typed.textRemoved()),
                                          bulletsFor(typed.textInserted())),
               typed);
        break;
    }
    case QAccessible::ValueChanged: // has the whole text
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
    if (isHidden(event->object())) {
        reportHidden(event);
    } else {
        passOn(event);
    }
}

// The toolkit also tells the bus each key that a window receives from the desktop, with its letter,
// and does so in an event filter of its own. It leaves out those that the program sends itself.
class HiddenKeys : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!event->spontaneous() || !watched->isWindowType() || !QAccessible::isActive() ||
            !isHidden(QApplication::focusWidget())) {
            return false;
        }
        switch (event->type()) {
        case QEvent::ShortcutOverride: // comes before each key
            // The filter that was installed last is asked first.
            parent()->installEventFilter(this);
            return false;
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            sendAsOurs(watched, *static_cast<QKeyEvent*>(event));
            return true;
        default:
            return false;
        }
    }

private:
    static void sendAsOurs(QObject* window, QKeyEvent& key)
    {
        QKeyEvent copy(key.type(), key.key(), key.modifiers(), key.nativeScanCode(),
                       key.nativeVirtualKey(), key.nativeModifiers(), key.text(),
                       key.isAutoRepeat(), static_cast<quint16>(key.count()));
        copy.setTimestamp(key.timestamp());
        QCoreApplication::sendEvent(window, &copy);
        key.setAccepted(copy.isAccepted());
    }
};

} // namespace

void HiddenEcho::install(QObject* application)
{
    QAccessible::installUpdateHandler(&report);
    application->installEventFilter(new HiddenKeys(application));
}
