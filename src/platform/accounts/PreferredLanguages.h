#pragma once

#include <QStringList>

// The user's languages from the environment, the most preferred first: the list in LANGUAGE, then
// the first of LC_ALL, LC_MESSAGES and LANG that is set, without encoding and modifier ("pt_BR" for
// "pt_BR.UTF-8"). Empty and repeated entries are dropped. Never empty: "C" where nothing is set.
// Any thread.
[[nodiscard]] QStringList preferredLanguages();
