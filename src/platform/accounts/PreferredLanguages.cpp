#include "platform/accounts/PreferredLanguages.h"

#include <QStringView>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// "pt_BR" for "pt_BR.UTF-8@euro".
QString languageOf(QStringView locale)
{
    const auto* const end =
        std::find_if(locale.begin(), locale.end(), [](QChar c) { return c == u'.' || c == u'@'; });
    return locale.first(end - locale.begin()).toString();
}

} // namespace

QStringList preferredLanguages()
{
    QStringList languages;
    const QString list = qEnvironmentVariable("LANGUAGE");
    for (const QStringView piece : QStringView(list).split(u':')) {
        languages.append(languageOf(piece));
    }
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const QString locale = qEnvironmentVariable(variable); !locale.isEmpty()) {
            languages.append(languageOf(locale));
            break;
        }
    }
    languages.removeAll(QString());
    languages.removeDuplicates();
    return languages.isEmpty() ? QStringList(u"C"_s) : languages;
}
