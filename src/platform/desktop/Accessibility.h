#pragma once

class QObject;

// When Qt joins the desktop's accessibility bus (AT-SPI), where screen readers look for programs.
namespace Accessibility {

// Qt joins at the program's first window, on the main thread, which waits for the session bus, the
// accessibility bus and its registry. From now on a worker asks all three first, and the first
// window waits for them for less than a second. Where they have not answered by then, this run of
// the program does without. Once, before the first widget.
void joinIfBusAnswers(QObject* application);

} // namespace Accessibility
