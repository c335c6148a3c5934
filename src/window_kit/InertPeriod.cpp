#include "window_kit/InertPeriod.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWidget>

#include <chrono>

namespace {

constexpr std::chrono::milliseconds kLength(600);

bool isMouse(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
        return true;
    default:
        return false;
    }
}

} // namespace

InertPeriod::InertPeriod(QWidget* window) : QObject(window), m_window(window)
{
    m_period.setSingleShot(true);
}

void InertPeriod::begin(Inputs inputs)
{
    m_inputs = inputs;
    // One pressed just before may begin to repeat only when the period is over.
    m_isKeyHeld = true;
    m_period.start(kLength);
    QCoreApplication::instance()->installEventFilter(this); // once, however often it is called
}

void InertPeriod::ignoreHeldKey()
{
    m_isKeyHeld = true;
    QCoreApplication::instance()->installEventFilter(this);
}

bool InertPeriod::eventFilter(QObject* watched, QEvent* event)
{
    const auto* const widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != m_window || !isToBeDropped(event)) {
        return QObject::eventFilter(watched, event);
    }
    // Accepted, so that nobody else is asked: not the shortcuts, not the parents.
    event->accept();
    return true;
}

bool InertPeriod::isToBeDropped(QEvent* event)
{
    const bool isOn = m_period.isActive();
    switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress: {
        const bool isRepeat = static_cast<QKeyEvent*>(event)->isAutoRepeat();
        if (isOn) {
            return true;
        }
        // A key that another window saw pressed repeats here.
        const bool isHeldThrough = m_isKeyHeld && isRepeat;
        if (!isHeldThrough) {
            QCoreApplication::instance()->removeEventFilter(this);
        }
        return isHeldThrough;
    }
    default:
        return isOn && m_inputs == Inputs::KeyboardAndMouse && isMouse(event->type());
    }
}
