#include "service_link/RemoteCommands.h"

#include <QFileInfo>

#include "logging/Logs.h"
#include "platform/processes/ChildProcess.h"

namespace {

constexpr qint64 kCouldNotStart = 1;
constexpr qint64 kNoSuchApplication = 4;

enum class StatusLog { Written, Omitted };

qint64 runShell(const QString& script, StatusLog statusLog)
{
    // The last argument only becomes the script's name in the shell's own messages.
    const auto result = ChildProcess::run(QStringLiteral("/bin/sh"),
                                          {QStringLiteral("-c"), script, QStringLiteral("&")});
    if (!result.status) {
        printErrorLog(result.error);
        return kCouldNotStart;
    }
    if (statusLog == StatusLog::Written) {
        printLog(QStringLiteral("status=") + QString::number(*result.status));
    }
    return *result.status;
}

QString withoutQuotes(const QString& word)
{
    for (const QChar quote : {u'\'', u'"'}) {
        if (word.size() > 1 && word.startsWith(quote) && word.endsWith(quote)) {
            return word.sliced(1, word.size() - 2);
        }
    }
    return word;
}

} // namespace

qint64 RemoteCommands::executeCommand(const QString& text)
{
    const bool isApplicationStart = text.contains(QLatin1String("/Applications/")) &&
                                    text.contains(QLatin1String(".app/Contents/MacOS/"));
    if (isApplicationStart) {
        if (!QFileInfo::exists(withoutQuotes(getCommand(text)))) {
            return kNoSuchApplication;
        }
        // The shell leaves it in the background and returns at once.
        return runShell(text + QStringLiteral(" &"), StatusLog::Written);
    }
    printLog(QStringLiteral("command=") + text);
    return runShell(text, StatusLog::Written);
}

qint64 RemoteCommands::executeApplication(const QString& text)
{
    printLog(QStringLiteral("command=") + text);
    return runShell(text, StatusLog::Omitted);
}

QString RemoteCommands::getCommand(QStringView command)
{
    QString word;
    bool isInSingleQuotes = false;
    bool isInDoubleQuotes = false;
    bool isEscaped = false;
    for (const QChar c : command) {
        if (c == u'\'' || c == u'"') {
            bool& isInQuotes = c == u'\'' ? isInSingleQuotes : isInDoubleQuotes;
            word += c;
            if (isInQuotes) {
                break;
            }
            isInQuotes = true;
        } else if (c == u'\\') {
            isEscaped = true;
            word += c;
        } else if (c == u' ' && !isEscaped && !isInSingleQuotes && !isInDoubleQuotes) {
            break;
        } else {
            isEscaped = false;
            word += c;
        }
    }
    return word;
}
