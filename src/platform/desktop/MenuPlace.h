#pragma once

#include <QRect>

class QMenu;

// Where a menu of the status bar's icon opens. Main thread. Internal to the platform.
namespace MenuPlace {

// Opens the menu below the icon, or above it where the screen ends. It covers no panel.
void popUp(QMenu& menu, QRect icon);

} // namespace MenuPlace
