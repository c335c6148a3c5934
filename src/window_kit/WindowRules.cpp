#include "window_kit/WindowRules.h"

#include "platform/desktop/WindowActivation.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

namespace {

QPointer<QWidget>& frontWindow()
{
    static QPointer<QWidget> window;
    return window;
}

// Whether a front window is shown, and is another one.
bool hasFrontWindowBefore(const QWidget* window)
{
    const QWidget* const front = frontWindow();
    return front != nullptr && front != window && front->isVisible();
}

WindowRules::Keyboard keyboardFor(const QWidget* window)
{
    const QWidget* const active = QApplication::activeWindow();
    if (active == nullptr || active == window) {
        return WindowRules::Keyboard::Free;
    }
    return active == frontWindow() ? WindowRules::Keyboard::InFront
                                   : WindowRules::Keyboard::InAnother;
}

} // namespace

WindowRules::Approach WindowRules::approach(Occasion occasion, Keyboard keyboard)
{
    switch (occasion) {
    case Occasion::Person:
        // Even the person's own wish for another window leaves a question its keyboard.
        return keyboard == Keyboard::InFront ? Approach::Show : Approach::Activate;
    case Occasion::Service:
        return keyboard == Keyboard::Free ? Approach::Offer : Approach::Show;
    case Occasion::News:
        break;
    }
    return Approach::Mark;
}

void WindowRules::bringUp(QWidget* window, Occasion occasion)
{
    const bool isNew = !window->isVisible() || window->isMinimized();
    switch (approach(occasion, keyboardFor(window))) {
    case Approach::Activate:
        WindowActivation::present(window);
        break;
    case Approach::Offer:
        WindowActivation::offer(window);
        break;
    case Approach::Show:
        WindowActivation::show(window);
        break;
    case Approach::Mark:
        WindowActivation::demandAttention(window);
        return;
    }
    if (occasion == Occasion::Service) {
        WindowActivation::demandAttention(window); // until it has the keyboard
    }
    activated(window);
    QWidget* const active = QApplication::activeWindow();
    if (window == frontWindow() && active != nullptr && active != window) {
        WindowActivation::bringAbove(window, active);
    }
    if (isNew && hasFrontWindowBefore(window)) {
        WindowActivation::showAnew(frontWindow(), window);
    }
}

void WindowRules::activated(QWidget* window)
{
    if (hasFrontWindowBefore(window)) {
        WindowActivation::putAbove(frontWindow(), window);
    }
}

void WindowRules::setFrontWindow(QWidget* window)
{
    frontWindow() = window;
}
