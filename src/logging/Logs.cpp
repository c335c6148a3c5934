#include "logging/Logs.h"

#include "platform/files/FilePaths.h"
#include "platform/files/SharedLogFile.h"
#include "platform/processes/Journal.h"
#include "platform/processes/ProgramEnd.h"

#include <QDateTime>
#include <QStringEncoder>

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Until they are emptied the files are the last run's, or those of an agent that is running.
std::atomic<bool> hasBegun = false;

// Worked out anew once a second: most lines come in bursts.
QString timeText()
{
    static std::mutex mutex; // guards the rest
    static qint64 second = 0;
    static QString text;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const std::lock_guard lock(mutex);
    if (std::exchange(second, now / 1000) != now / 1000) {
        text = QDateTime::fromSecsSinceEpoch(second).toString(u"yyyy-MM-dd HH:mm:ss."_s);
    }
    return text + QString::number(now % 1000).rightJustified(3, u'0');
}

// None where the text has half a surrogate pair, which UTF-8 can't hold.
std::optional<QByteArray> utf8(const QString& text)
{
    QStringEncoder encoder(QStringEncoder::Utf8, QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder.encode(text);
    return encoder.hasError() ? std::nullopt : std::optional(bytes);
}

// Without what a terminal or an editor would act on: control characters but for tabs and line
// breaks, other separators of lines, and explicit changes of direction (UAX #9).
QString visible(const QString& message)
{
    QString text;
    text.reserve(message.size());
    for (const QChar character : message) {
        const char16_t code = character.unicode();
        if (code != u'\t' && code != u'\n' && (code < 0x20 || (code >= 0x7F && code < 0xA0))) {
            text += u"\\x%1"_s.arg(code, 2, 16, QChar(u'0'));
        } else if ((code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069)) {
            text += u"\\u%1"_s.arg(code, 4, 16, QChar(u'0'));
        } else {
            text += character;
        }
    }
    return text;
}

// With the time before it. The lines after the first one begin with a tab: no text from outside
// looks like a line of ours.
QString record(const QString& message)
{
    return timeText() + u' ' + visible(message).replace(u'\n', "\n\t"_L1) + u'\n';
}

QByteArray firstLine()
{
    return record(u"the log had reached 16 MiB and was emptied"_s).toUtf8();
}

void sendToJournal(Journal::Priority priority, const QString& message,
                   const JournalFields& fields = {})
{
    if (const auto bytes = utf8(visible(message))) {
        Journal::Fields sent = {{"MESSAGE", *bytes}};
        for (const auto& [name, value] : fields) {
            sent.append({name, visible(value).toUtf8()});
        }
        Journal::send(priority, sent);
    }
}

} // namespace

LogDestination::LogDestination() : LogDestination(u"vantoryAgent.stdout"_s) {}

LogDestination::LogDestination(const QString& name)
    : m_path(FilePaths::applicationSupport(u"Halvern/vantoryAgent/logs/"_s + name))
{}

void LogDestination::write(const QString& text) const
{
    if (const auto bytes = utf8(text)) {
        SharedLogFile::append(m_path, *bytes, firstLine);
    }
}

void LogDestination::cleanUp() const
{
    SharedLogFile::begin(m_path);
    hasBegun = true;
}

LogErrorDestination::LogErrorDestination() : LogDestination(u"vantoryAgent.stderr"_s) {}

void printLog(const QString& message)
{
    LogDestination().write(record(message));
}

void printErrorLog(const QString& message, ToJournal toJournal)
{
    LogErrorDestination().write(record(message));
    if (toJournal == ToJournal::Yes) {
        sendToJournal(Journal::Priority::Error, message);
    }
}

void printJournal(const QString& message, const JournalFields& fields)
{
    sendToJournal(Journal::Priority::Information, message, fields);
}

void fatalState(const QString& why)
{
    if (hasBegun) {
        LogErrorDestination().write(record(why));
    }
    if (!Journal::takesStandardError()) { // else the line that follows gets there
        sendToJournal(Journal::Priority::Critical, why);
    }
    abortProgram(visible(why).toLocal8Bit() + '\n');
}
