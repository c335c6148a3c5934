#pragma once

#include <QString>

// Says to people who use a screen reader what happens, whichever program has the keyboard.
//
// A text is said about 300 ms later, when the screen reader has begun to read a window that came up
// with it; texts of that time are said together. Typing makes screen readers fall silent: if the
// user types into a window of the program while the text is being said, as far as its length
// tells, it is said once more when the keyboard has been quiet for a second. It reaches the reader
// as the accessible name of an object with AT-SPI's notification role, in a window that is never on
// the screen. Where there is no screen reader nothing is said. Main thread.
namespace Announcements {

// What a text is about: of all but News only the newest is said, and none that was withdrawn. The
// value of a field is not said twice.
enum class About { News, Question, Credentials, Value };

// Plain text, of which the first 2,000 characters are said. Of many texts the oldest news go.
void say(const QString& text, About about = About::News);

// Drops what still waits or would be said once more: it is no longer true.
void withdraw(About about);

// While the screen is locked texts wait for the user, so that nobody else nearby hears them.
void hold(bool isHeld);

} // namespace Announcements
