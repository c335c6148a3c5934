#pragma once

class QObject;

// The desktop's accessibility bus (AT-SPI), where screen readers look for programs.
namespace Accessibility {

// Once, before the first widget, on the main thread.
//
// Qt joins the bus at the program's first window, on the main thread, which waits for the session
// bus, the accessibility bus and its registry. From now on a worker calls all three first, and the
// first window waits for them for less than a second. Where they have not replied by then, this
// run of the program does without.
//
// Fields that hide what is typed hide it on the bus, too: a bullet is reported in place of each
// character, and no key. Frames have the roles of groups and of separators: the toolkit's own role
// for them is one that screen readers take for a window.
void begin(QObject* application);

} // namespace Accessibility
