#include "logging/Logs.h"

#include "platform/files/FilePaths.h"
#include "platform/files/SharedLogFile.h"
#include "platform/processes/Journal.h"
#include "platform/processes/ProgramEnd.h"

#include <QByteArray>
#include <QStringEncoder>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Until they are emptied the files are the last run's, or those of an agent that is running.
std::atomic<bool> hasBegun = false;

// Without the toolkit: the last lines are written while it is being taken down.
QString timeText()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local = {};
    ::tzset(); // reads the zone again where it has changed; localtime_r() need not
    ::localtime_r(&seconds, &local);
    std::array<char, 64> text = {};
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &local);
    std::snprintf(text.data() + length, text.size() - length, "%03d",
                  static_cast<int>(milliseconds));
    return QString::fromLatin1(text.data());
}

// None where the text has half a surrogate pair, which UTF-8 can't hold.
std::optional<QByteArray> utf8(const QString& text)
{
    QStringEncoder encoder(QStringEncoder::Utf8, QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder.encode(text);
    return encoder.hasError() ? std::nullopt : std::optional(bytes);
}

void sendToJournal(Journal::Priority priority, const QString& message)
{
    if (const auto bytes = utf8(message)) {
        Journal::send(priority, *bytes);
    }
}

void append(const LogDestination& destination, const QString& message)
{
    destination.write(timeText() + u' ' + message + u'\n');
}

} // namespace

LogDestination::LogDestination() : LogDestination(u"vantoryAgent.stdout"_s) {}

LogDestination::LogDestination(const QString& name)
    : m_path(FilePaths::applicationSupport(u"Halvern/vantoryAgent/logs/"_s + name))
{}

void LogDestination::write(const QString& text) const
{
    if (const auto bytes = utf8(text)) {
        SharedLogFile::append(m_path, *bytes);
    }
}

void LogDestination::cleanUp() const
{
    SharedLogFile::startEmpty(m_path);
    hasBegun = true;
}

LogErrorDestination::LogErrorDestination() : LogDestination(u"vantoryAgent.stderr"_s) {}

void printLog(const QString& message)
{
    append(LogDestination(), message);
}

void printErrorLog(const QString& message)
{
    append(LogErrorDestination(), message);
    sendToJournal(Journal::Priority::Error, message);
}

void printJournal(const QString& message)
{
    sendToJournal(Journal::Priority::Information, message);
}

void fatalState(const QString& why)
{
    if (hasBegun) {
        append(LogErrorDestination(), why);
    }
    if (!Journal::takesStandardError()) { // else the line that follows gets there
        sendToJournal(Journal::Priority::Critical, why);
    }
    abortProgram(why.toLocal8Bit() + '\n');
}
