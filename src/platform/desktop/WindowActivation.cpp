#include "platform/desktop/WindowActivation.h"

#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputEvent>
#include <QWidget>
#include <QWindow>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <memory>

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
        default:
            break;
        }
        return QObject::eventFilter(watched, event);
    }
};

xcb_connection_t* x11Connection()
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<quint16>(name.size()), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

void askForActivation(xcb_connection_t* connection, const QWidget* window)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    const quint32 time = lastAction();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id,
                        atom(connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1, &time);

    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = id;
    message.type = atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 1; // asked for by an application
    message.data.data32[1] = time;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace

void WindowActivation::watchInput()
{
    lastAction() = serverTimeNow();
    qApp->installEventFilter(new InputWatch(qApp));
}

void WindowActivation::noteAction(quint32 serverTime)
{
    lastAction() = serverTime != 0 ? serverTime : serverTimeNow();
}

void WindowActivation::stop()
{
    isStopped = true;
}

void WindowActivation::present(QWidget* window)
{
    MainQueue::assertMainThread();
    if (isStopped) {
        return;
    }
    if (!window->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
        window->setWindowFlag(Qt::WindowStaysOnTopHint);
    }
    xcb_connection_t* const connection = x11Connection();
    // Else the toolkit would call this very moment the person's last action when it maps the
    // window.
    window->setAttribute(Qt::WA_ShowWithoutActivating, connection != nullptr);
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    if (connection != nullptr) {
        askForActivation(connection, window);
    } else {
        window->activateWindow();
    }
    // Hidden and shown again at once, a window has never lost the desktop's focus, but the toolkit
    // has forgotten that it is the active one.
    if (QGuiApplication::focusWindow() == window->windowHandle()) {
        QApplication::setActiveWindow(window);
    }
}
