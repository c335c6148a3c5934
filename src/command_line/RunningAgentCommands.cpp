#include "command_line/RunningAgentCommands.h"

#include "command_line/CommandTexts.h"
#include "command_line/Terminal.h"
#include "platform/bus/RunningAgent.h"
#include "records/StatusSummary.h"

#include <QDateTime>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

QString sessionLine(const CommandTexts& texts, const StatusSummary::Session& session)
{
    const QString who =
        session.device.isEmpty() ? session.name : session.name + u" ("_s + session.device + u')';
    const QString number = QString::number(session.session);
    if (!session.began.isValid()) {
        return texts.text("status.sessionWithoutTime"_L1, {number, who});
    }
    const QString began =
        QLocale::system().toString(session.began.toLocalTime(), QLocale::ShortFormat);
    return texts.text("status.session"_L1, {number, who, began});
}

void print(const CommandTexts& texts, const StatusSummary& status)
{
    Terminal::print(status.isLinked ? texts.text("status.linked"_L1, {status.gateway})
                                    : texts.text("status.notLinked"_L1));
    for (const auto& session : status.sessions) {
        Terminal::print(sessionLine(texts, session));
    }
    if (status.sessions.isEmpty()) {
        Terminal::print(texts.text("status.noSession"_L1));
    }
}

// JSON text as a terminal may show it: what could move the cursor or turn the reading direction is
// escaped. Such characters stand in strings only.
QString shownJson(const QByteArray& json)
{
    QString result;
    for (const QChar c : QString::fromUtf8(json)) {
        const bool isRisky = c.category() == QChar::Other_Control ||
                             (c >= QChar(0x202A) && c <= QChar(0x202E)) ||
                             (c >= QChar(0x2066) && c <= QChar(0x206F));
        result += isRisky ? u"\\u%1"_s.arg(c.unicode(), 4, 16, QChar(u'0')) : QString(c);
    }
    return result;
}

} // namespace

int RunningAgentCommands::status(const CommandTexts& texts, bool isJson)
{
    const auto answer = RunningAgent::status();
    const auto status = answer ? StatusSummary::fromJson(*answer) : std::nullopt;
    if (isJson) {
        Terminal::print(shownJson(status ? status->toJson() : StatusSummary::notRunning()));
    } else if (status) {
        print(texts, *status);
    } else {
        Terminal::complain(texts.text("status.notRunning"_L1));
    }
    return status ? 0 : 1;
}

int RunningAgentCommands::endSession(const CommandTexts& texts, const QString& number)
{
    bool isNumber = false;
    const qint64 session = number.toLongLong(&isNumber);
    if (!isNumber) {
        Terminal::complain(
            texts.text("usage.wrongUse"_L1, {u"--end-session "_s + number, u"vantoryAgent"_s}));
        return 2;
    }
    const auto isEnded = RunningAgent::endSession(session);
    if (!isEnded) {
        Terminal::complain(texts.text("status.notRunning"_L1));
    } else if (*isEnded) {
        Terminal::print(texts.text("end.done"_L1, {number}));
    } else {
        Terminal::complain(texts.text("end.unknown"_L1, {number}));
    }
    return isEnded.value_or(false) ? 0 : 1;
}
