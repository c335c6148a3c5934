#pragma once

#include <QStringView>

// The toolkit's own words, as in the menus of text fields. Main thread.
namespace ToolkitWords {

// From here on they are in that language ("de"), where the system has it; else in English.
void speak(QStringView language);

} // namespace ToolkitWords
