#include "window_kit/MenuKeys.h"

#include <QMenu>
#include <QPointer>
#include <QWidget>

namespace {

QPointer<QMenu>& theMenu()
{
    static QPointer<QMenu> menu;
    return menu;
}

} // namespace

void MenuKeys::setMenu(QMenu* menu)
{
    theMenu() = menu;
}

void MenuKeys::addTo(QWidget* window)
{
    if (!theMenu()) {
        return;
    }
    const QList<QAction*> items = theMenu()->actions();
    for (QAction* const item : items) {
        if (!item->shortcut().isEmpty() && !window->actions().contains(item)) {
            window->addAction(item);
        }
    }
}
