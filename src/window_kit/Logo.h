#pragma once

class QLabel;
class QWidget;

// The brand's logo in a window: the custom one where the installation has put one beside the
// settings, else the bundle's, of which there is one for light and one for dark windows. Main
// thread.
namespace Logo {

// Shows the bundle's logo; without the resource the label stays as it is.
void showBundled(QLabel& logo);

// Looks for the custom logo again. `logoChanged` says whether the window has ever shown a custom
// one, and is never reset: from then on the bundle's is shown whenever there is no custom one.
void refresh(QLabel& logo, bool& logoChanged);

// To be called when the palette has changed.
void followAppearance(QLabel& logo);

// Gives the window the application's icon, in all sizes that window managers and task bars ask for.
void setWindowIcon(QWidget& window);

} // namespace Logo
