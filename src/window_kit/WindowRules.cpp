#include "window_kit/WindowRules.h"

#include "platform/desktop/WindowActivation.h"

#include <QApplication>
#include <QMenu>
#include <QPointer>

namespace {

// Both hold null where there is none any more.
QPointer<QWidget> frontWindow;
QPointer<QMenu> statusMenu;

// Whether a front window is shown, and is another one.
bool hasFrontWindowBefore(const QWidget* window)
{
    return frontWindow != nullptr && frontWindow != window && frontWindow->isVisible();
}

void addMenuKeys(QWidget* window)
{
    const QList<QAction*> items = statusMenu ? statusMenu->actions() : QList<QAction*>();
    for (QAction* const item : items) {
        if (!item->shortcut().isEmpty()) {
            window->addAction(item); // once, however often it is called
        }
    }
}

} // namespace

void WindowRules::bringUp(QWidget* window, Occasion occasion)
{
    if (occasion == Occasion::News) {
        WindowActivation::demandAttention(window);
        return;
    }
    addMenuKeys(window);
    const bool isNew = !window->isVisible() || window->isMinimized();
    QWidget* const active = QApplication::activeWindow();
    const bool isAnotherActive = active != nullptr && active != window;
    if (occasion == Occasion::Service) {
        if (isAnotherActive) {
            WindowActivation::show(window);
        } else {
            WindowActivation::offer(window);
        }
        WindowActivation::demandAttention(window); // until it has the keyboard
    } else if (isAnotherActive && active == frontWindow) {
        // Even the user's own wish for another window leaves a question its keyboard.
        WindowActivation::show(window);
    } else {
        WindowActivation::present(window);
    }
    activated(window);
    QWidget* const activeNow = QApplication::activeWindow();
    if (window == frontWindow && activeNow != nullptr && activeNow != window) {
        WindowActivation::bringAbove(window, activeNow);
    }
    if (isNew && hasFrontWindowBefore(window)) {
        WindowActivation::showAnew(frontWindow, window);
    }
}

void WindowRules::activated(QWidget* window)
{
    if (hasFrontWindowBefore(window)) {
        WindowActivation::putAbove(frontWindow, window);
    }
}

void WindowRules::setFrontWindow(QWidget* window)
{
    frontWindow = window;
}

void WindowRules::setMenu(QMenu* menu)
{
    statusMenu = menu;
}
