#pragma once

class QObject;

// What screen readers are told of fields that do not show what is typed (QLineEdit's echo modes).
// The toolkit reports the characters themselves to the accessibility bus, and the keys as well,
// where every program of the person can read them, and screen readers speak them.
namespace HiddenEcho {

// From now on a bullet is reported in place of each character, and no key. A field whose signals
// are blocked reports nothing: its program is clearing it. Once, on the main thread.
void install(QObject* application);

} // namespace HiddenEcho
