#include "platform/desktop/MenuPlace.h"

#include "platform/desktop/X11.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

QPoint MenuPlace::at(const QRect& icon, const QSize& menu, const QRect& screen)
{
    const int below = icon.bottom() + 1;
    const int y = below + menu.height() <= screen.bottom() + 1 ? below : icon.top() - menu.height();
    const int x = std::min(icon.left(), screen.right() + 1 - menu.width());
    return {std::max(x, screen.left()), std::max(y, screen.top())};
}

QPoint MenuPlace::inHost(QPoint told, const QSize& menu)
{
    // Some hosts tell a place within their own window, or none.
    const QPoint place = X11::connection() != nullptr ? QCursor::pos() : told;
    const QScreen* screen = QGuiApplication::screenAt(place);
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    const QRect whole = screen->geometry();
    const QRect free = screen->availableGeometry();
    QRect icon(std::clamp(place.x(), whole.left(), whole.right()),
               std::clamp(place.y(), whole.top(), whole.bottom()), 1, 1);
    if (icon.top() < free.top()) {
        icon.setBottom(free.top() - 1);
    } else if (icon.top() > free.bottom()) {
        icon.setTop(free.bottom() + 1);
    } else if (icon.left() < free.left()) {
        icon.moveLeft(free.left());
    } else if (icon.left() > free.right()) {
        return {std::max(free.right() + 1 - menu.width(), free.left()), at(icon, menu, whole).y()};
    }
    return at(icon, menu, whole);
}
