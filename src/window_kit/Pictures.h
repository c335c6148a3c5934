#pragma once

#include <QSize>
#include <QString>

class QAbstractButton;
class QLabel;
class QWidget;

// Pictures in windows. They have the size that the .ui file gives them with a font of usual size,
// grow with a larger one, and are as sharp as the screen can show them. One that never changes is
// named there, too, by the label's or button's own property "pictureName". Main thread.
namespace Pictures {

// Such a size for the widget's font.
[[nodiscard]] QSize grown(const QSize& size, const QWidget& widget);

// Shows a picture of the bundle, in the label's minimum size and up to its maximum size. Without
// the resource the label is empty.
void show(QLabel& label, const QString& name);

// Likewise; the button's icon size is the picture's.
void show(QAbstractButton& button, const QString& name);

// Shows all pictures in it (anew): in a new window, for another font or screen.
void refresh(QWidget& window);

// Shows the brand's logo in the window's label "logo", if it has one: the custom one where one is
// wanted and the installation has put one beside the settings, which it returns; else the bundle's,
// of which there is one for light and one for dark windows. What is no picture leaves the label as
// it is.
bool showLogo(const QWidget& window, bool mayBeCustom);

// Gives the window the application's icon, in all sizes that window managers and task bars ask for.
void setWindowIcon(QWidget& window);

} // namespace Pictures
