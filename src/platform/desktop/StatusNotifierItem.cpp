#include "platform/desktop/StatusNotifierItem.h"

#include "platform/bus/Bus.h"
#include "platform/desktop/DBusStruct.h"
#include "platform/desktop/MenuPlace.h"
#include "platform/desktop/X11.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QImage>
#include <QMenu>
#include <QPixmap>
#include <QSize>
#include <QtEndian>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Where hosts look when they know the bus name only.
const QString kPath = u"/StatusNotifierItem"_s;

// No status bar is higher, and the pictures are sent with every change.
constexpr int kLargestPicture = 128;

// Within this time after a click a host has opened its own menu, if it does so at all.
constexpr std::chrono::milliseconds kHostsTime = 300ms;

// A StatusNotifierItem's name on the bus: …-PID-NUMBER.
QString busName()
{
    return u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid());
}

StatusNotifierPicture pictureOf(const QImage& source)
{
    const QImage image = source.convertToFormat(QImage::Format_ARGB32);
    StatusNotifierPicture picture{image.width(), image.height(), {}};
    picture.argb.resize(image.sizeInBytes()); // four bytes a pixel leave no padding
    qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / 4, picture.argb.data());
    return picture;
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const QDBusConnection& bus, const StatusContent& content)
    : m_bus(bus), m_content(content), m_exportedMenu(bus, content.menu)
{
    qDBusRegisterMetaType<StatusNotifierPicture>();
    qDBusRegisterMetaType<QList<StatusNotifierPicture>>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
    m_waitForHost.setSingleShot(true);
    connect(&m_waitForHost, &QTimer::timeout, this, [this] {
        m_opensHostMenu = false;
        popUpMenu();
    });
    connect(&m_exportedMenu, &DBusMenu::openedByHost, this, &StatusNotifierItem::leaveMenuToHost);
    m_bus.registerObject(kPath, this, QDBusConnection::ExportScriptableContents);

    // A name of its own and not the connection's: released, it withdraws the icon, while the
    // connection, which the accessibility bridge uses too, stays.
    constexpr uint doNotQueue = 4;
    QDBusMessage request = Bus::callToBus(u"RequestName"_s);
    request << busName() << doNotQueue;
    m_bus.send(request);
}

void StatusNotifierItem::registerWith(const QString& watcher)
{
    m_opensHostMenu = true; // it may be another host
    QDBusMessage ownerCall = Bus::callToBus(u"GetNameOwner"_s);
    ownerCall << busName();
    Bus::call(m_bus, ownerCall, Bus::kUsualTimeLimit, this, [=, this](const QDBusMessage& reply) {
        const bool isOurs = reply.arguments().value(0).toString() == m_bus.baseService();
        QDBusMessage registration = QDBusMessage::createMethodCall(
            watcher, u"/StatusNotifierWatcher"_s, u"org.kde.StatusNotifierWatcher"_s,
            u"RegisterStatusNotifierItem"_s);
        registration << (isOurs ? busName() : m_bus.baseService());
        m_bus.send(registration);
    });
}

StatusNotifierItem::~StatusNotifierItem()
{
    // There is no call that unregisters an item; the watcher drops it when its name is released.
    QDBusMessage release = Bus::callToBus(u"ReleaseName"_s);
    release << busName();
    m_bus.send(release);
    m_bus.unregisterObject(kPath);
}

void StatusNotifierItem::contentChanged()
{
    Q_EMIT NewIcon();
    Q_EMIT NewToolTip();
}

QList<StatusNotifierPicture> StatusNotifierItem::pictures() const
{
    // The size of a common status bar, at scale 1 and 2, and the icon's own sizes.
    QList<QSize> sizes = {QSize(22, 22), QSize(44, 44)};
    sizes += m_content.icon.availableSizes();

    QList<StatusNotifierPicture> pictures;
    for (const QSize& size : std::as_const(sizes)) {
        const QImage image =
            m_content.icon.pixmap(size.boundedTo(QSize(kLargestPicture, kLargestPicture)), 1.0)
                .toImage();
        const bool isNew =
            std::none_of(pictures.begin(), pictures.end(), [&](const StatusNotifierPicture& p) {
                return p.width == image.width() && p.height == image.height();
            });
        if (!image.isNull() && isNew) {
            pictures += pictureOf(image);
        }
    }
    return pictures;
}

StatusNotifierToolTip StatusNotifierItem::toolTip() const
{
    // As the title, which is plain text; the description may contain markup.
    return {{}, {}, m_content.toolTip, {}};
}

void StatusNotifierItem::Activate(int x, int y)
{
    if (calledFromDBus()) {
        sendErrorReply(QDBusError::UnknownMethod, u"The item is a menu"_s);
    }
    m_place = {x, y};
    // Its menu may have been opened by the first click of two.
    if (m_sinceHostMenu.isValid() && m_sinceHostMenu.elapsed() < kHostsTime.count()) {
        return;
    }
    m_waitForHost.start(m_opensHostMenu ? kHostsTime : 0ms);
}

void StatusNotifierItem::SecondaryActivate(int /*x*/, int /*y*/) {}

void StatusNotifierItem::ContextMenu(int x, int y)
{
    m_place = {x, y};
    m_waitForHost.stop();
    popUpMenu();
}

void StatusNotifierItem::Scroll(int /*delta*/, const QString& /*orientation*/) {}

void StatusNotifierItem::leaveMenuToHost()
{
    m_sinceHostMenu.start();
    if (m_content.menu.isVisible() || m_waitForHost.isActive()) {
        m_content.menu.hide();
        m_waitForHost.stop();
        m_opensHostMenu = true;
    }
}

void StatusNotifierItem::popUpMenu()
{
    // The icon lies under the user's pointer. Some hosts tell a place within their own window, or
    // none, so theirs counts only where the pointer's place is not known (native Wayland).
    const QPoint place = X11::connection() != nullptr ? QCursor::pos() : m_place;
    MenuPlace::popUp(m_content.menu, QRect(place, place));
}
