#include "platform/desktop/MenuPlace.h"

#include <QGuiApplication>
#include <QMenu>
#include <QScreen>

#include <algorithm>

void MenuPlace::popUp(QMenu& menu, QRect icon)
{
    const QScreen* screen = QGuiApplication::screenAt(icon.center());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen == nullptr) {
        return; // a compositor without an output
    }
    const QRect whole = screen->geometry();
    const QRect free = screen->availableGeometry();
    icon = QRect(QPoint(std::clamp(icon.left(), whole.left(), whole.right()),
                        std::clamp(icon.top(), whole.top(), whole.bottom())),
                 icon.size());
    icon.setBottom(std::max(icon.bottom(), free.top() - 1));
    icon.setTop(std::min(icon.top(), free.bottom() + 1));
    const QSize size = menu.sizeHint();
    const int below = icon.bottom() + 1;
    const int y = below + size.height() <= whole.bottom() + 1 ? below : icon.top() - size.height();
    const int x = std::min(icon.left(), free.right() + 1 - size.width());
    menu.popup({std::max(x, free.left()), std::max(y, whole.top())});
}
