#include "platform/desktop/WindowActivation.h"

#include "platform/desktop/X11.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputEvent>
#include <QLayout>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <atomic>
#include <chrono>

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

// From a window's coming up to the window manager's putting it in its place.
constexpr std::chrono::milliseconds kUntilStacked = 200ms;

// X servers on this machine count their time on the monotonic clock, which steady_clock is.
quint32 serverTimeNow()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(std::chrono::floor<std::chrono::milliseconds>(now).count());
}

// The time of the user's last action as far as this program knows. Until there was one, the
// program's start stands for it: that was the last thing that anybody asked for.
quint32 lastAction = 0;

std::atomic<bool> isStopped = false;

class InputWatch : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::KeyPress:
            // With a screen reader the toolkit asks that first, and sends a copy without the time.
            if (!event->spontaneous() && watched->isWindowType()) {
                lastAction = serverTimeNow();
                break;
            }
            [[fallthrough]];
        case QEvent::ShortcutOverride: // all that there is of a key that is a shortcut
        case QEvent::MouseButtonPress:
        case QEvent::TouchBegin: {
            const auto time = static_cast<QInputEvent*>(event)->timestamp();
            if (time != 0 && (event->spontaneous() || event->type() == QEvent::ShortcutOverride)) {
                lastAction = static_cast<quint32>(time);
            }
            break;
        }
        case QEvent::WindowActivate:
            if (watched->isWidgetType() && static_cast<QWidget*>(watched)->isWindow()) {
                X11::setUrgency(*static_cast<QWidget*>(watched), false);
            }
            break;
        default:
            break;
        }
        return false;
    }
};

// Tiling window managers leave a window whose size is fixed as it is, above the tiles. They look
// once, at its coming up, so that the user may change the size as ever afterwards.
void keepOutOfTiles(QWidget* window)
{
    window->ensurePolished();
    if (window->layout() != nullptr) {
        window->layout()->activate();
    }
    if (!window->testAttribute(Qt::WA_Resized)) {
        window->adjustSize();
    }
    window->winId(); // makes the handle
    QWindow* const handle = window->windowHandle();
    handle->setMinimumSize(window->size());
    handle->setMaximumSize(window->size());
    // A compositor shows the window, and looks at its limits, somewhat later. One timer: that of an
    // earlier showing would give the limits back too early.
    const QString name = u"giveLimitsBack"_s;
    delete handle->findChild<QTimer*>(name, Qt::FindDirectChildrenOnly);
    auto* const timer = new QTimer(handle);
    timer->setObjectName(name);
    QObject::connect(timer, &QTimer::timeout, handle, [=, seen = 0]() mutable {
        constexpr int kEnough = 3;
        seen = handle->isExposed() ? seen + 1 : 0;
        if (seen == kEnough) {
            handle->setMinimumSize(window->minimumSize());
            handle->setMaximumSize(window->maximumSize());
            timer->deleteLater();
        }
    });
    timer->start(250ms);
}

void askForKeyboard(QWidget* window)
{
    if (X11::connection() != nullptr) {
        X11::askForActivation(*window, lastAction);
    } else {
        window->activateWindow();
    }
    // Hidden and shown again at once, a window has never lost the desktop's focus, but the toolkit
    // has forgotten that it is the active one. What Qt 6.5 recommends in place of this call would
    // ask the window manager, with this very moment as the user's last action.
    if (QGuiApplication::focusWindow() == window->windowHandle()) {
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        QApplication::setActiveWindow(window);
        QT_WARNING_POP
    }
}

} // namespace

void WindowActivation::watchInput()
{
    lastAction = serverTimeNow();
    qApp->installEventFilter(new InputWatch(qApp));
}

void WindowActivation::noteAction(quint32 serverTime)
{
    constexpr quint32 kOldest = 60'000;
    const quint32 now = serverTimeNow();
    // The clock wraps at 32 bits, so that a time in the future has the greatest age.
    const bool isBelievable = serverTime != 0 && now - serverTime <= kOldest;
    lastAction = isBelievable ? serverTime : now;
}

void WindowActivation::stop()
{
    isStopped = true;
}

void WindowActivation::hideAll()
{
    MainQueue::assertMainThread();
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        window->hide();
    }
    if (xcb_connection_t* const connection = X11::connection()) {
        xcb_flush(connection);
    }
}

void WindowActivation::present(QWidget* window, bool isRaised)
{
    show(window);
    if (isStopped) {
        return;
    }
    if (isRaised) {
        window->raise();
    }
    askForKeyboard(window);
}

// Without the toolkit's asking for the keyboard, which it would do with this very moment as the
// user's last action.
void WindowActivation::show(QWidget* window)
{
    MainQueue::assertMainThread();
    if (isStopped) {
        return;
    }
    if (!window->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
        window->setWindowFlag(Qt::WindowStaysOnTopHint);
    }
    window->setAttribute(Qt::WA_ShowWithoutActivating);
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    if (!window->isVisible() && !X11::canRestack()) {
        keepOutOfTiles(window);
    }
    window->show();
}

bool WindowActivation::mayUserBeElsewhere()
{
    if (QGuiApplication::focusWindow() != nullptr) {
        return false;
    }
    const auto used = X11::lastUse();
    if (!used) {
        return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    }
    // The clock wraps.
    const auto isLater = [](quint32 one, quint32 other) { return qint32(one - other) > 0; };
    // A program that tells a time in the future must not keep ours from the keyboard for good.
    return *used == 0 || (isLater(*used, lastAction) && !isLater(*used, serverTimeNow()));
}

void WindowActivation::demandAttention(QWidget* window)
{
    if (!window->isActiveWindow()) {
        QApplication::alert(window);
        X11::setUrgency(*window, true);
    }
}

void WindowActivation::putAbove(QWidget* window, QWidget* other)
{
    MainQueue::assertMainThread();
    if (!isStopped && X11::canRestack()) {
        X11::restack(*window, *other);
    }
}

void WindowActivation::bringAbove(QWidget* window, QWidget* other)
{
    putAbove(window, other);
    if (X11::connection() == nullptr || X11::canRestack()) {
        return;
    }
    QTimer::singleShot(kUntilStacked, window, [window, below = QPointer<QWidget>(other)] {
        // Not where the user has gone on to another program meanwhile.
        if (!isStopped && window->isVisible() && below && below->isActiveWindow() &&
            X11::isListedBelow(*window, *below)) {
            askForKeyboard(window);
        }
    });
}

void WindowActivation::showAnew(QWidget* window, QWidget* other, int tries)
{
    MainQueue::assertMainThread();
    if (isStopped || X11::canRestack()) {
        return;
    }
    const bool isOnX11 = X11::connection() != nullptr;
    if (!isOnX11 && other == nullptr) {
        window->hide();
        show(window);
        return;
    }
    QTimer::singleShot(kUntilStacked, window, [=, above = QPointer<QWidget>(other)] {
        if (!isOnX11 && tries > 1 && window->isVisible() && above && above->isVisible() &&
            !above->windowHandle()->isExposed()) {
            showAnew(window, above, tries - 1); // a slow compositor has not shown it yet
            return;
        }
        // Wayland tells no order, but what has the keyboard lies in front.
        const bool isInFront =
            isOnX11 ? above && X11::isListedBelow(*above, *window) : window->isActiveWindow();
        if (!isStopped && window->isVisible() && above && !isInFront) {
            window->hide();
            show(window);
        }
    });
}

bool WindowActivation::isInSight(const QWidget& window)
{
    return window.isVisible() && !window.isMinimized() && window.windowHandle()->isExposed() &&
           X11::isInSight(window);
}

QMargins WindowActivation::untoldMargins()
{
    if (X11::rootList("_NET_SUPPORTED").isEmpty() || X11::isSupported("_NET_WORKAREA") ||
        X11::isSupported("_NET_FRAME_EXTENTS")) {
        return {};
    }
    constexpr int kPanel = 32;
    constexpr int kFrame = 16; // both sides
    return {0, kPanel, kFrame, kPanel};
}
