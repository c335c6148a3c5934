#pragma once

class QWidget;

// Which of the agent's windows may take the keyboard, and which lies above which. The one place
// that decides it; docs/protocol.md says it to people. Main thread.
namespace WindowRules {

// Why a window comes up.
enum class Occasion {
    Person,  // the person asks for it
    Service, // of what the service reports
    News,    // it is shown already, and something in it is new
};

// What is done about it.
enum class Approach {
    Activate, // shown above the others, and asks for the keyboard
    Offer,    // shown, and asks for the keyboard
    Show,     // shown, and wants attention
    Mark,     // only wants attention
};

// Which window has the keyboard, as far as the toolkit knows.
enum class Keyboard {
    Free,      // another program's, or the window's own
    InAnother, // another window of the agent
    InFront,   // the front window
};

[[nodiscard]] Approach approach(Occasion occasion, Keyboard keyboard);

// Does it. The front window stays above.
void bringUp(QWidget* window, Occasion occasion);

// The person has gone to a window, which window managers may raise: the front window stays above.
void activated(QWidget* window);

// The window that lies above all others of the agent while it is shown: the question for control.
// It must be a dialog.
void setFrontWindow(QWidget* window);

} // namespace WindowRules
