#include "service_link/RemoteCommands.h"

#include "logging/Logs.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/SystemPrograms.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

constexpr int kCouldNotStart = 1;
constexpr int kNoSuchApplication = 4;

enum class StatusLog { Written, Omitted };

RemoteCommands::Started startShell(const QString& script, StatusLog statusLog)
{
    // The last argument is the script's name in the shell's own messages.
    const auto child = ChildProcess::start(SystemPrograms::kSh.toString(),
                                           {u"-c"_s, script, u"&"_s}, {.endsWithProgram = true});
    const auto wait = [child, statusLog] {
        const auto result = ChildProcess::wait(child);
        if (!result.status) {
            printErrorLog(result.error);
        } else if (statusLog == StatusLog::Written) {
            printLog(u"status="_s + QString::number(*result.status));
        }
        return result.status.value_or(kCouldNotStart);
    };
    return {wait, ChildProcess::endOf(child)};
}

QString withoutQuotes(const QString& word)
{
    const bool isQuoted = word.size() > 1 && word.front() == word.back() &&
                          (word.front() == u'\'' || word.front() == u'"');
    return isQuoted ? word.sliced(1, word.size() - 2) : word;
}

} // namespace

RemoteCommands::Started RemoteCommands::executeCommand(const QString& text)
{
    const bool isApplicationStart =
        text.contains("/Applications/"_L1) && text.contains(".app/Contents/MacOS/"_L1);
    if (isApplicationStart) {
        if (!QFileInfo::exists(withoutQuotes(getCommand(text)))) {
            return {[] { return kNoSuchApplication; }};
        }
        // In the background: the shell ends at once.
        return startShell(text + u" &"_s, StatusLog::Written);
    }
    printLog(u"command="_s + text);
    return startShell(text, StatusLog::Written);
}

RemoteCommands::Started RemoteCommands::executeApplication(const QString& text)
{
    printLog(u"command="_s + text);
    return startShell(text, StatusLog::Omitted);
}

QString RemoteCommands::getCommand(QStringView command)
{
    QString word;
    QString openQuotes;
    bool isEscaped = false;
    for (const QChar c : command) {
        if (c == u' ' && !isEscaped && openQuotes.isEmpty()) {
            break;
        }
        word += c;
        if (openQuotes.contains(c)) {
            break;
        }
        if (c == u'\'' || c == u'"') {
            openQuotes += c;
        }
        isEscaped = c == u'\\';
    }
    return word;
}
