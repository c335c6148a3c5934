#include "service_link/RemoteCommands.h"

#include "logging/Logs.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/SystemPrograms.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kCouldNotStart = 1;
constexpr qint64 kNoSuchApplication = 4;

enum class StatusLog { Written, Omitted };

qint64 runShell(const QString& script, StatusLog statusLog)
{
    // The last argument is the script's name in the shell's own messages.
    const auto result = ChildProcess::run(SystemPrograms::kSh.toString(), {u"-c"_s, script, u"&"_s},
                                          {.endsWithProgram = true});
    if (!result.status) {
        printErrorLog(result.error);
        return kCouldNotStart;
    }
    if (statusLog == StatusLog::Written) {
        printLog(u"status="_s + QString::number(*result.status));
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
    const bool isApplicationStart =
        text.contains("/Applications/"_L1) && text.contains(".app/Contents/MacOS/"_L1);
    if (isApplicationStart) {
        if (!QFileInfo::exists(withoutQuotes(getCommand(text)))) {
            return kNoSuchApplication;
        }
        // In the background: the shell ends at once.
        return runShell(text + u" &"_s, StatusLog::Written);
    }
    printLog(u"command="_s + text);
    return runShell(text, StatusLog::Written);
}

qint64 RemoteCommands::executeApplication(const QString& text)
{
    printLog(u"command="_s + text);
    return runShell(text, StatusLog::Omitted);
}

void RemoteCommands::endRunning()
{
    ChildProcess::endRunning(std::chrono::seconds(1));
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
