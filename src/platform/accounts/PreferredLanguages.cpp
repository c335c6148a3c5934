#include "platform/accounts/PreferredLanguages.h"

using namespace Qt::StringLiterals;

QStringList preferredLanguages()
{
    QStringList languages = qEnvironmentVariable("LANGUAGE").split(u':');
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const QString locale = qEnvironmentVariable(variable); !locale.isEmpty()) {
            languages.append(locale);
            break;
        }
    }
    for (QString& language : languages) { // "pt_BR" of "pt_BR.UTF-8@euro"
        language = language.section(u'.', 0, 0).section(u'@', 0, 0);
    }
    languages.removeAll(QString());
    languages.removeDuplicates();
    return languages.isEmpty() ? QStringList(u"C"_s) : languages;
}
