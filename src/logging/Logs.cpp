#include "logging/Logs.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <QByteArray>
#include <QFile>
#include <QStringEncoder>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files/FilePaths.h"

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t kSharedMode = 0666;

// An open log file; closed when it goes. Never follows a link, never waits for a pipe's reader, and
// writes into nothing but a regular file: the directory is shared.
class OpenFile {
public:
    OpenFile(const QString& path, int flags)
        : m_descriptor(::open(QFile::encodeName(path).constData(),
                              flags | O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY,
                              kSharedMode))
    {
        struct stat status = {};
        if (m_descriptor >= 0 &&
            (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode))) {
            ::close(m_descriptor);
            m_descriptor = -1;
        }
    }
    ~OpenFile()
    {
        if (isOpen()) {
            ::close(m_descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

// By the system's means alone: the last lines are written while the toolkit is going.
QString timeText()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local = {};
    ::localtime_r(&seconds, &local);
    std::array<char, 64> text = {};
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &local);
    std::snprintf(text.data() + length, text.size() - length, "%03d",
                  static_cast<int>(milliseconds));
    return QString::fromLatin1(text.data());
}

void append(const LogDestination& destination, const QString& message)
{
    // One write, so that lines of several threads never tear.
    destination.write(timeText() + u' ' + message + u'\n');
}

} // namespace

LogDestination::LogDestination()
    : LogDestination(u"/Halvern/vantoryAgent/logs/vantoryAgent.stdout"_s)
{}

LogDestination::LogDestination(const QString& pathBelowApplicationSupport)
    : m_path(
          FilePaths::rooted(FilePaths::applicationSupportDirectory() + pathBelowApplicationSupport))
{}

void LogDestination::write(const QString& text) const
{
    QStringEncoder encoder(QStringEncoder::Utf8, QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder.encode(text);
    if (encoder.hasError()) {
        return;
    }
    const OpenFile file(m_path, O_APPEND);
    if (file.isOpen()) {
        // A full disk loses the line, nothing else.
        [[maybe_unused]] const auto written =
            ::write(file.descriptor(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
}

void LogDestination::cleanUp() const
{
    const OpenFile existing(m_path, O_TRUNC);
    if (!existing.isOpen()) {
        // None, or one that can't be written: a link, a pipe, a file without the right. A
        // directory or another person's file in a sticky directory stays.
        ::unlink(QFile::encodeName(m_path).constData());
    }
    const OpenFile made(m_path, existing.isOpen() ? 0 : O_CREAT | O_EXCL);
    if (made.isOpen()) {
        // The mode at creation is cut by the umask; another person's file keeps its mode.
        [[maybe_unused]] const auto result = ::fchmod(made.descriptor(), kSharedMode);
    }
}

LogErrorDestination::LogErrorDestination()
    : LogDestination(u"/Halvern/vantoryAgent/logs/vantoryAgent.stderr"_s)
{}

void printLog(const QString& message)
{
    append(LogDestination(), message);
}

void printErrorLog(const QString& message)
{
    append(LogErrorDestination(), message);
}

void fatalState(const QString& why)
{
    printErrorLog(why);
    const QByteArray line = why.toLocal8Bit() + '\n';
    [[maybe_unused]] const auto written =
        ::write(STDERR_FILENO, line.constData(), static_cast<std::size_t>(line.size()));
    std::abort();
}
