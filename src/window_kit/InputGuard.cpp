#include "window_kit/InputGuard.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QCursor>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

#include <utility>

namespace {

constexpr std::chrono::milliseconds kKeyboardQuiet(1'000);
constexpr std::chrono::milliseconds kMouseQuiet(600);

// Releases a button that is being pressed, without a click.
void releaseWithoutClick(QAbstractButton& button)
{
    button.setDown(false);
    const QPointF outside(-1, -1);
    QMouseEvent release(QEvent::MouseButtonRelease, outside, button.mapToGlobal(outside),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &release);
}

} // namespace

void InputGuard::DeafTime::begin(bool isExposed)
{
    end = isExposed ? QDeadlineTimer(length) : QDeadlineTimer(QDeadlineTimer::Forever);
}

bool InputGuard::DeafTime::drops()
{
    if (isOn() && !end.isForever()) {
        begin(true);
    }
    return isOn();
}

InputGuard::InputGuard(QWidget* window)
    : QObject(window), m_window(window), m_keyboard{kKeyboardQuiet, {}}, m_mouse{kMouseQuiet, {}}
{}

void InputGuard::begin(Inputs inputs)
{
    m_keyboard.begin(isExposed());
    if (inputs == Inputs::KeyboardAndMouse) {
        m_mouse.begin(isExposed());
        forgetPresses(*m_window);
    }
    ignoreHeldKey(); // one pressed just before may begin to repeat only when that is over
}

void InputGuard::end()
{
    m_keyboard.end = m_mouse.end = QDeadlineTimer();
}

void InputGuard::ignoreHeldKey()
{
    m_ignoresHeldKey = true;
    QCoreApplication::instance()->installEventFilter(this); // once, however often it is called
}

void InputGuard::changed(QWidget& part)
{
    m_parts.insert(&part, {kMouseQuiet, QDeadlineTimer(kMouseQuiet)});
    forgetPresses(part);
}

void InputGuard::connectButton(QAbstractButton* button, std::function<void()> action)
{
    connect(button, &QAbstractButton::pressed, this, [this, button] {
        if (dropsPress(button)) {
            m_meant.remove(button);
        } else {
            m_meant.insert(button);
        }
    });
    connect(button, &QAbstractButton::clicked, this, [this, button, run = std::move(action)] {
        if (m_meant.remove(button) && button->isVisible()) {
            run();
        }
    });
}

// All times that drop it begin anew. The event filter has dropped the keyboard's and the mouse's
// presses of a deaf window already, so there it is a screen reader's.
bool InputGuard::dropsPress(const QAbstractButton* button)
{
    const bool hasKeyboard = m_keyboard.drops();
    bool isDropped = m_mouse.drops() || hasKeyboard;
    for (auto part = m_parts.begin(); part != m_parts.end(); ++part) {
        isDropped = (part.key()->isAncestorOf(button) && part->drops()) || isDropped;
    }
    return isDropped;
}

void InputGuard::forgetPresses(const QWidget& part)
{
    const QSet<QAbstractButton*> meant = m_meant;
    for (QAbstractButton* const button : meant) {
        if (part.isAncestorOf(button)) {
            m_meant.remove(button);
            releaseWithoutClick(*button);
        }
    }
}

bool InputGuard::dropsClosing() const
{
    const QPoint pointer = QCursor::pos();
    const bool isInTitleBar =
        m_window->frameGeometry().contains(pointer) && !m_window->geometry().contains(pointer);
    return isInTitleBar ? m_mouse.isOn() : isOn();
}

bool InputGuard::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && watched == m_window->windowHandle()) {
        for (DeafTime* const time : {&m_keyboard, &m_mouse}) {
            if (time->end.isForever()) {
                time->begin(isExposed());
            }
        }
    }
    if (!isOn() && !m_ignoresHeldKey) {
        QCoreApplication::instance()->removeEventFilter(this);
        return false;
    }
    const auto* const widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != m_window || !isToBeDropped(event)) {
        return false;
    }
    // Accepted, so that nobody else is asked: not the shortcuts, not the parents.
    event->accept();
    return true;
}

bool InputGuard::isExposed() const
{
    return m_window->windowHandle() != nullptr && m_window->windowHandle()->isExposed();
}

bool InputGuard::isToBeDropped(QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
        return dropsKey(static_cast<QKeyEvent*>(event)->isAutoRepeat());
    case QEvent::InputMethod: {
        const auto* const text = static_cast<QInputMethodEvent*>(event);
        return !(text->commitString().isEmpty() && text->preeditString().isEmpty()) &&
               dropsKey(false);
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
        if (m_mouse.drops()) {
            return true;
        }
        m_keyboard.end = QDeadlineTimer(); // the user has aimed at this window
        return false;
    default:
        return false;
    }
}

bool InputGuard::dropsKey(bool isRepeat)
{
    if (m_keyboard.drops()) {
        return true;
    }
    m_ignoresHeldKey = m_ignoresHeldKey && isRepeat;
    return m_ignoresHeldKey;
}
