#pragma once

#include <QStringList>

// The person's languages, most preferred first, as the environment tells them: the list in
// LANGUAGE, then the first of LC_ALL, LC_MESSAGES and LANG that is set, encoding and modifier
// stripped
// ("pt_BR.UTF-8" gives "pt_BR"). Empty pieces and repetitions are dropped. Never empty: "C" is an
// entry, and the only one where nothing is set. Any thread.
[[nodiscard]] QStringList preferredLanguages();
