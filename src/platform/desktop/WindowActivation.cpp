#include "platform/desktop/WindowActivation.h"

#include "platform/desktop/X11.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputEvent>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <iterator>
#include <vector>

#include <xcb/xcb.h>

namespace {

// X servers on this machine count their time on the monotonic clock.
quint32 serverTimeNow()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<quint32>(static_cast<quint64>(now.tv_sec) * 1000 +
                                static_cast<quint64>(now.tv_nsec) / 1'000'000);
}

// The time of the person's last action as far as this program knows. Until there was one, the
// program's start stands for it: that was the last thing that anybody asked for.
quint32& lastAction()
{
    static quint32 time = 0;
    return time;
}

std::atomic<bool> isStopped = false;

// ICCCM's UrgencyHint among the hints that the toolkit has set.
void setUrgency(const QWidget& window, bool isUrgent)
{
    xcb_connection_t* const connection = X11::connection();
    if (connection == nullptr || window.windowHandle() == nullptr) {
        return;
    }
    constexpr quint32 kHints = 9; // 32-bit numbers, the flags first
    constexpr quint32 kUrgency = 1U << 8;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const auto cookie =
        xcb_get_property(connection, 0, id, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 0, kHints);
    const auto reply = X11::owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != kHints) {
        return;
    }
    auto* const hints = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    const quint32 before = hints[0];
    hints[0] = isUrgent ? before | kUrgency : before & ~kUrgency;
    if (hints[0] != before) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_HINTS,
                            XCB_ATOM_WM_HINTS, 32, kHints, hints);
        xcb_flush(connection);
    }
}

class InputWatch : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::MouseButtonPress:
        case QEvent::TouchBegin:
            if (event->spontaneous()) {
                const quint64 time = static_cast<QInputEvent*>(event)->timestamp();
                if (time != 0) {
                    lastAction() = static_cast<quint32>(time);
                }
            }
            break;
        case QEvent::WindowActivate:
            if (const auto* const window = qobject_cast<QWidget*>(watched)) {
                if (window->isWindow()) {
                    setUrgency(*window, false);
                }
            }
            break;
        default:
            break;
        }
        return QObject::eventFilter(watched, event);
    }
};

// A request to the window manager about a window.
void sendToWindowManager(xcb_connection_t* connection, const QWidget* window,
                         const QByteArray& type, const std::array<quint32, 3>& data)
{
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window->winId());
    message.type = X11::atom(connection, type);
    std::copy(data.begin(), data.end(), std::begin(message.data.data32));
    xcb_send_event(connection, 0, X11::screen(connection).root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

void askForActivation(xcb_connection_t* connection, const QWidget* window)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    const quint32 time = lastAction();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id,
                        X11::atom(connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1,
                        &time);
    constexpr quint32 kByApplication = 1;
    sendToWindowManager(connection, window, "_NET_ACTIVE_WINDOW", {kByApplication, time, 0});
}

// What the window manager, which may be another one at each call, tells by a list.
std::vector<quint32> listOfWindowManager(xcb_connection_t* connection, const QByteArray& name)
{
    constexpr quint32 kMost = 1'024;
    const auto cookie =
        xcb_get_property(connection, 0, X11::screen(connection).root, X11::atom(connection, name),
                         XCB_GET_PROPERTY_TYPE_ANY, 0, kMost);
    const auto reply = X11::owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

bool canRestack(xcb_connection_t* connection)
{
    const auto supported = listOfWindowManager(connection, "_NET_SUPPORTED");
    const quint32 wanted = X11::atom(connection, "_NET_RESTACK_WINDOW");
    return std::find(supported.begin(), supported.end(), wanted) != supported.end();
}

bool isListedBelow(xcb_connection_t* connection, const QWidget* window, const QWidget* other)
{
    const auto stacked = listOfWindowManager(connection, "_NET_CLIENT_LIST_STACKING");
    const auto place = std::find(stacked.begin(), stacked.end(), window->winId());
    return std::find(place, stacked.end(), other->winId()) != stacked.end();
}

void restack(xcb_connection_t* connection, const QWidget* window, const QWidget* other)
{
    // Window managers take the request from pagers only (EWMH's source indication 2).
    constexpr quint32 kByPager = 2;
    sendToWindowManager(connection, window, "_NET_RESTACK_WINDOW",
                        {kByPager, static_cast<quint32>(other->winId()), XCB_STACK_MODE_ABOVE});
}

// Shows the window without the toolkit's asking for the keyboard, which it would do with this very
// moment as the person's last action.
void showWithoutActivation(QWidget* window)
{
    if (!window->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
        window->setWindowFlag(Qt::WindowStaysOnTopHint);
    }
    window->setAttribute(Qt::WA_ShowWithoutActivating);
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
}

void askForKeyboard(QWidget* window)
{
    if (xcb_connection_t* const connection = X11::connection()) {
        askForActivation(connection, window);
    } else {
        window->activateWindow();
    }
    // Hidden and shown again at once, a window has never lost the desktop's focus, but the toolkit
    // has forgotten that it is the active one. What Qt 6.5 recommends in place of this call would
    // ask the window manager, with this very moment as the person's last action.
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
    lastAction() = serverTimeNow();
    qApp->installEventFilter(new InputWatch(qApp));
}

void WindowActivation::noteAction(quint32 serverTime)
{
    constexpr quint32 kOldest = 60'000;
    const quint32 now = serverTimeNow();
    // The clock wraps at 32 bits, so that a time in the future has the greatest age.
    const bool isBelievable = serverTime != 0 && now - serverTime <= kOldest;
    lastAction() = isBelievable ? serverTime : now;
}

void WindowActivation::stop()
{
    isStopped = true;
}

void WindowActivation::present(QWidget* window)
{
    MainQueue::assertMainThread();
    if (!isStopped) {
        showWithoutActivation(window);
        window->raise();
        askForKeyboard(window);
    }
}

void WindowActivation::offer(QWidget* window)
{
    MainQueue::assertMainThread();
    if (!isStopped) {
        showWithoutActivation(window);
        askForKeyboard(window);
    }
}

void WindowActivation::show(QWidget* window)
{
    MainQueue::assertMainThread();
    if (!isStopped) {
        showWithoutActivation(window);
    }
}

void WindowActivation::demandAttention(QWidget* window)
{
    if (!window->isActiveWindow()) {
        QApplication::alert(window);
        setUrgency(*window, true);
    }
}

void WindowActivation::putAbove(QWidget* window, QWidget* other)
{
    MainQueue::assertMainThread();
    xcb_connection_t* const connection = X11::connection();
    if (!isStopped && connection != nullptr && canRestack(connection)) {
        restack(connection, window, other);
    }
}

void WindowActivation::bringAbove(QWidget* window, QWidget* other)
{
    MainQueue::assertMainThread();
    xcb_connection_t* const connection = X11::connection();
    if (isStopped || connection == nullptr) {
        return;
    }
    if (canRestack(connection)) {
        restack(connection, window, other);
        return;
    }
    constexpr std::chrono::milliseconds kUntilStacked(200);
    QTimer::singleShot(kUntilStacked, window, [window, below = QPointer<QWidget>(other)] {
        xcb_connection_t* const now = X11::connection();
        if (!isStopped && window->isVisible() && below && isListedBelow(now, window, below)) {
            askForKeyboard(window);
        }
    });
}

void WindowActivation::showAnew(QWidget* window)
{
    MainQueue::assertMainThread();
    if (!isStopped && X11::connection() == nullptr) {
        window->hide();
        showWithoutActivation(window);
    }
}
