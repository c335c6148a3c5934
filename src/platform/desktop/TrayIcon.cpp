#include "platform/desktop/TrayIcon.h"

#include "platform/desktop/MenuPlace.h"
#include "platform/desktop/X11.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScreen>
#include <QTextDocument>
#include <QWidget>
#include <QWindow>

#include <algorithm>

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace {

// From now on the server tells when the tray's window is destroyed.
bool watch(quint32 tray)
{
    constexpr quint32 kEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto cookie =
        xcb_change_window_attributes_checked(X11::connection(), tray, XCB_CW_EVENT_MASK, &kEvents);
    return !X11::owned(xcb_request_check(X11::connection(), cookie));
}

bool hasAlphaChannel(quint32 tray)
{
    const quint32 wanted = X11::list(tray, "_NET_SYSTEM_TRAY_VISUAL").value(0);
    constexpr quint8 kDepthWithAlpha = 32;
    auto depth = xcb_screen_allowed_depths_iterator(&X11::screen());
    for (; depth.rem > 0; xcb_depth_next(&depth)) {
        const xcb_visualtype_t* const first = xcb_depth_visuals(depth.data);
        const xcb_visualtype_t* const last = first + xcb_depth_visuals_length(depth.data);
        if (depth.data->depth == kDepthWithAlpha &&
            std::any_of(first, last, [wanted](const auto& v) { return v.visual_id == wanted; })) {
            return true;
        }
    }
    return false;
}

} // namespace

// What the tray takes into its own window. Its size is the tray's decision.
class TrayIcon::Window : public QWidget {
public:
    Window(const TrayIcon& icon, bool hasAlphaChannel)
        : QWidget(nullptr, Qt::FramelessWindowHint | Qt::BypassWindowManagerHint), m_owner(icon)
    {
        setObjectName(u"TrayIcon"_s);
        setWindowTitle(icon.m_content.title);
        setAttribute(Qt::WA_AlwaysShowToolTips);
        setAttribute(Qt::WA_QuitOnClose, false);
        setAttribute(Qt::WA_TranslucentBackground, hasAlphaChannel);
        constexpr QSize kUsual(22, 22);
        resize(kUsual);
        // Only a hint, for trays that ask: the widget takes a smaller size from others.
        create();
        windowHandle()->setMinimumSize(kUsual);
        setPlainToolTip(icon.m_content.toolTip);
    }

    quint32 id() const { return static_cast<quint32>(winId()); }

    void setPlainToolTip(const QString& text)
    {
        setToolTip(Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text);
    }

    // To be called when the tray has taken it in; before, it would be shown in the screen's corner.
    void showInTray()
    {
        if (!testAttribute(Qt::WA_TranslucentBackground)) {
            // The server then fills the window as the tray is filled. It refuses where the two have
            // different depths.
            constexpr quint32 kLikeParent = XCB_BACK_PIXMAP_PARENT_RELATIVE;
            const auto cookie = xcb_change_window_attributes_checked(
                X11::connection(), id(), XCB_CW_BACK_PIXMAP, &kLikeParent);
            X11::owned(xcb_request_check(X11::connection(), cookie));
        }
        // The tray may have changed the size already, and showing would ask for the former one.
        const auto cookie = xcb_get_geometry(X11::connection(), id());
        const auto geometry =
            X11::owned(xcb_get_geometry_reply(X11::connection(), cookie, nullptr));
        if (geometry) {
            resize((QSizeF(geometry->width, geometry->height) / devicePixelRatioF()).toSize());
        }
        show();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        if (testAttribute(Qt::WA_TranslucentBackground)) {
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.fillRect(rect(), Qt::transparent);
            painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        } else {
            // The background is read anew each time, since a panel may change its colours. The
            // server clears the window first, so that the icon is not in the picture.
            xcb_clear_area(X11::connection(), 0, id(), 0, 0, 0, 0);
            painter.drawPixmap(QPoint(), screen()->grabWindow(winId()));
        }
        m_owner.m_content.icon.paint(&painter, rect());
    }

    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton || event->button() == Qt::RightButton) {
            // The window knows its place in the tray, not on the screen.
            const QPoint corner = (event->globalPosition() - event->position()).toPoint();
            MenuPlace::popUp(m_owner.m_content.menu, QRect(corner, size()));
        }
    }

private:
    const TrayIcon& m_owner;
};

TrayIcon::TrayIcon(const StatusContent& content) : m_content(content)
{
    if (X11::connection() != nullptr) {
        m_selection = X11::atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(X11::screenNumber()));
        m_manager = X11::atom("MANAGER");
        qApp->installNativeEventFilter(this);
        dock();
    }
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::contentChanged()
{
    if (m_window) {
        m_window->update();
        m_window->setPlainToolTip(m_content.toolTip);
    } else if (m_selection != XCB_ATOM_NONE) {
        dock(); // a tray may have come without saying so
    }
}

bool TrayIcon::isShown() const
{
    return m_window && m_window->isVisible();
}

// Called before the toolkit sees the event, which it still does.
bool TrayIcon::nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/)
{
    if (type != "xcb_generic_event_t") {
        return false;
    }
    constexpr unsigned kSentByProgram = 0x80;
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    const unsigned kind = event->response_type & ~kSentByProgram;
    const auto* const client = reinterpret_cast<const xcb_client_message_event_t*>(event);
    const auto* const destroyed = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
    const auto* const exposed = reinterpret_cast<const xcb_expose_event_t*>(event);
    const auto* const reparented = reinterpret_cast<const xcb_reparent_notify_event_t*>(event);
    if ((kind == XCB_CLIENT_MESSAGE && client->type == m_manager &&
         client->data.data32[1] == m_selection) ||
        (kind == XCB_DESTROY_NOTIFY && destroyed->window == m_tray)) {
        dock();
    } else if (m_window && kind == XCB_EXPOSE && exposed->window == m_window->id()) {
        // The toolkit would show what it has painted last, over the tray's former background.
        m_window->update();
    } else if (m_window && kind == XCB_REPARENT_NOTIFY && reparented->window == m_window->id() &&
               reparented->parent != X11::screen().root) {
        m_window->showInTray();
    }
    return false;
}

// Leaves the tray that there was, and asks the one that there is to take the icon in.
void TrayIcon::dock()
{
    m_window.reset();
    m_tray = XCB_WINDOW_NONE;
    xcb_connection_t* const server = X11::connection();
    const auto reply = X11::owned(xcb_get_selection_owner_reply(
        server, xcb_get_selection_owner(server, m_selection), nullptr));
    // A tray that ends at this very moment is none; the next one announces itself.
    if (!reply || reply->owner == XCB_WINDOW_NONE || !watch(reply->owner)) {
        return;
    }
    m_tray = reply->owner;
    m_window = std::make_unique<Window>(*this, hasAlphaChannel(m_tray));
    constexpr quint32 kRequestDock = 0; // SYSTEM_TRAY_REQUEST_DOCK
    X11::send(m_tray, m_tray, "_NET_SYSTEM_TRAY_OPCODE",
              {XCB_CURRENT_TIME, kRequestDock, m_window->id()});
}
