#pragma once

class QLabel;
class QWidget;

// The brand's logo in a window: the installation's custom one where it has put one beside the
// settings, else the bundle's, which comes for light and for dark windows. Main thread.
namespace Logo {

// Puts the bundle's logo in place; without the resource the label stays as it is.
void showBundled(QLabel& logo);

// Looks for the custom logo anew. `logoChanged` tells whether a custom one was ever shown in this
// window, and is never taken back: from then on the bundle's is put back at each look without one.
void refresh(QLabel& logo, bool& logoChanged);

// To be called when the palette has changed.
void followAppearance(QLabel& logo);

// Gives the window the application's icon, in all sizes that window managers and task bars ask for.
void setWindowIcon(QWidget& window);

} // namespace Logo
