#pragma once

class QMenu;
class QWidget;

// The keys that the menu of the status bar names, in the agent's windows. Main thread.
namespace MenuKeys {

// The menu whose keys they are, for as long as it exists.
void setMenu(QMenu* menu);

// From now on they work while the keyboard is in the window.
void addTo(QWidget* window);

} // namespace MenuKeys
