#pragma once

class QMenu;
class QWidget;

// Which of the agent's windows may take the keyboard, and which lies above which. The one place
// that decides it; docs/protocol.md says it to people. Main thread.
namespace WindowRules {

// Why a window comes up.
enum class Occasion {
    User,    // the user asks for it
    Service, // of what the service reports
};

// Brings it up. The front window stays above.
void bringUp(QWidget* window, Occasion occasion);

// The user has gone to a window, which window managers may raise: the front window stays above.
void activated(QWidget* window);

// The window that lies above all others of the agent while it is shown: the question for control.
// It must be a dialog.
void setFrontWindow(QWidget* window);

// The menu of the status bar, whose keys work in each window that is brought up.
void setMenu(QMenu* menu);

} // namespace WindowRules
