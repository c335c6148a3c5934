#include "platform/accounts/PreferredLanguages.h"

using namespace Qt::StringLiterals;

namespace {

// "pt_BR" for "pt_BR.UTF-8@euro".
QString languageOf(const QString& locale)
{
    return locale.section(u'.', 0, 0).section(u'@', 0, 0);
}

} // namespace

QStringList preferredLanguages()
{
    QStringList languages;
    for (const QString& piece : qEnvironmentVariable("LANGUAGE").split(u':')) {
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
