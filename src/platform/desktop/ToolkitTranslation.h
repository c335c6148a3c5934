#pragma once

#include <QStringView>

// Qt's translations of its own texts, as in the menus of text fields. Main thread.
namespace ToolkitTranslation {

// From here on these texts are in that language ("de"), where Qt has it; else in English.
void install(QStringView language);

} // namespace ToolkitTranslation
