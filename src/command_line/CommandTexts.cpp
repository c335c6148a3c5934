#include "command_line/CommandTexts.h"

#include "localisation/ShownText.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/files/Json.h"
#include "platform/files/MainBundle.h"
#include "platform/files/RegularFile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLargestFile = 1024 * 1024;
constexpr qsizetype kLongestValue = 500;

} // namespace

CommandTexts::CommandTexts(Language language) : m_language(languageKey(language))
{
    if (const auto path = MainBundle::resourcePath(u"commands"_s, u"json"_s)) {
        m_texts =
            Json::read(RegularFile::read(*path, kLargestFile).bytes).object.value_or(QJsonObject());
    }
}

CommandTexts::CommandTexts() : CommandTexts(languageFor(preferredLanguages())) {}

QString CommandTexts::text(QLatin1StringView key, const QStringList& values) const
{
    const QString form = m_texts.value(key).toObject().value(m_language).toString();
    if (form.isEmpty()) {
        return ShownText::line((QStringList(QString(key)) + values).join(u' '), kLongestValue);
    }
    QString result;
    for (qsizetype place = 0; place < form.size(); ++place) {
        const int number = form.at(place) == u'%' && place + 1 < form.size()
                               ? form.at(place + 1).digitValue()
                               : -1;
        if (number >= 1 && number <= values.size()) {
            result += ShownText::line(values.at(number - 1), kLongestValue);
            ++place;
        } else {
            result += form.at(place);
        }
    }
    return result;
}
