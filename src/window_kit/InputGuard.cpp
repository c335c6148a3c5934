#include "window_kit/InputGuard.h"

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QWidget>
#include <QWindow>

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kKeyboardQuiet(1'000);
constexpr std::chrono::milliseconds kMouseQuiet(600);

} // namespace

void InputGuard::Quiet::begin(bool isExposed)
{
    isOn = true;
    if (isExposed) {
        time.start();
    } else {
        time.stop();
    }
}

void InputGuard::Quiet::dropped()
{
    if (time.isActive()) {
        time.start();
    }
}

void InputGuard::Quiet::end()
{
    isOn = false;
    time.stop();
}

InputGuard::InputGuard(QWidget* window) : QObject(window), m_window(window)
{
    for (const auto& [quiet, length] :
         {std::pair(&m_keyboard, kKeyboardQuiet), std::pair(&m_mouse, kMouseQuiet)}) {
        quiet->time.setSingleShot(true);
        quiet->time.setInterval(length);
        connect(&quiet->time, &QTimer::timeout, this, [this, over = quiet] {
            over->end();
            stopIfOver();
        });
    }
}

void InputGuard::begin(Inputs inputs)
{
    m_keyboard.begin(isExposed());
    m_ignoresHeldKey = true; // one pressed just before may begin to repeat only when that is over
    if (inputs == Inputs::KeyboardAndMouse) {
        m_mouse.begin(isExposed());
    }
    QCoreApplication::instance()->installEventFilter(this); // once, however often it is called
}

void InputGuard::end()
{
    m_keyboard.end();
    m_mouse.end();
    stopIfOver();
}

void InputGuard::ignoreHeldKey()
{
    m_ignoresHeldKey = true;
    QCoreApplication::instance()->installEventFilter(this);
}

bool InputGuard::dropsPress()
{
    const bool isDropped = isOn();
    m_keyboard.dropped();
    m_mouse.dropped();
    return isDropped;
}

bool InputGuard::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && watched == m_window->windowHandle()) {
        exposed();
    }
    const auto* const widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != m_window || !isToBeDropped(event)) {
        return QObject::eventFilter(watched, event);
    }
    // Accepted, so that nobody else is asked: not the shortcuts, not the parents.
    event->accept();
    return true;
}

bool InputGuard::isExposed() const
{
    return m_window->windowHandle() != nullptr && m_window->windowHandle()->isExposed();
}

void InputGuard::exposed()
{
    for (Quiet* const quiet : {&m_keyboard, &m_mouse}) {
        if (quiet->isOn && !quiet->time.isActive() && isExposed()) {
            quiet->time.start();
        }
    }
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
        if (m_mouse.isOn) {
            m_mouse.dropped();
            return true;
        }
        m_keyboard.end(); // the person has aimed at this window
        stopIfOver();
        return false;
    default:
        return false;
    }
}

bool InputGuard::dropsKey(bool isRepeat)
{
    if (m_keyboard.isOn) {
        m_keyboard.dropped();
        return true;
    }
    if (m_ignoresHeldKey && !isRepeat) {
        m_ignoresHeldKey = false;
        stopIfOver();
    }
    return m_ignoresHeldKey;
}

void InputGuard::stopIfOver()
{
    if (!isOn() && !m_ignoresHeldKey) {
        QCoreApplication::instance()->removeEventFilter(this);
    }
}
