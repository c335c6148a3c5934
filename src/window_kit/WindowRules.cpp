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

bool mayAskForKeyboard(const QWidget* window, WindowRules::Occasion occasion)
{
    const bool isUsers = occasion == WindowRules::Occasion::User;
    const QWidget* const active = QApplication::activeWindow();
    if (active != nullptr && active != window) {
        // Even the user's own wish for another window leaves a question its keyboard.
        return isUsers && active != frontWindow;
    }
    return isUsers || !WindowActivation::mayUserBeElsewhere();
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
    addMenuKeys(window);
    const bool isNew = !window->isVisible() || window->isMinimized();
    if (mayAskForKeyboard(window, occasion)) {
        WindowActivation::present(window, occasion == Occasion::User);
    } else {
        WindowActivation::show(window);
    }
    if (occasion == Occasion::Service) {
        WindowActivation::demandAttention(window); // until it has the keyboard
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
