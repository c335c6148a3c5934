#include "command_line/Terminal.h"

#include "localisation/ShownText.h"
#include "localisation/Translate.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/files/Json.h"
#include "platform/files/MainBundle.h"
#include "platform/files/RegularFile.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestValue = 500;

void write(std::FILE* file, const QString& line)
{
    const QByteArray bytes = (line + u'\n').toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

} // namespace

Terminal::Terminal() : m_language(languageKey(languageFor(preferredLanguages())))
{
    if (const auto path = MainBundle::resourcePath(u"commands"_s, u"json"_s)) {
        m_texts = readJson(RegularFile::read(*path).bytes).object.value_or(QJsonObject());
    }
}

Terminal::Status Terminal::say(QLatin1StringView key, const QStringList& values) const
{
    print(text(key, values));
    return Done;
}

Terminal::Status Terminal::printError(QLatin1StringView key, const QStringList& values,
                                      Status status) const
{
    write(stderr, u"vantoryAgent: "_s + text(key, values));
    return status;
}

QString Terminal::text(QLatin1StringView key, const QStringList& values) const
{
    const QString form = m_texts.value(key).toObject().value(m_language).toString();
    if (form.isEmpty()) {
        return ShownText::line((QStringList(QString(key)) + values).join(u' '), kLongestValue);
    }
    const QStringList pieces = form.split(u'%');
    QString result = pieces.constFirst();
    for (const QString& piece : pieces.sliced(1)) {
        const int number = piece.isEmpty() ? 0 : piece.front().digitValue();
        const bool isPlace = number >= 1 && number <= values.size();
        result += isPlace ? ShownText::line(values.at(number - 1), kLongestValue) + piece.sliced(1)
                          : u'%' + piece;
    }
    return result;
}

void Terminal::print(const QString& line)
{
    write(stdout, line);
}

bool Terminal::isWritten()
{
    return std::ferror(stdout) == 0;
}
