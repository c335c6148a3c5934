#include "simulator/Console.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace {

struct Look {
    const char* colour; // an SGR sequence of ECMA-48, section 8.3.117
    const char* prefix;
};

// In the order of Voice.
constexpr std::array<Look, 4> kLooks = {{
    {"\033[36m", "<- "},
    {"\033[32m", "-> "},
    {"\033[2m", "   "},
    {"\033[31m", "!! "},
}};

} // namespace

void Console::print(Voice voice, const QString& line)
{
    std::FILE* const stream = voice == Voice::Failure ? stderr : stdout;
    const Look& look = kLooks.at(static_cast<std::size_t>(voice));
    const QByteArray text = look.prefix + line.toUtf8();
    const bool isColoured = ::isatty(::fileno(stream)) == 1;
    std::fputs(isColoured ? look.colour + text + "\033[0m\n" : text + '\n', stream);
    std::fflush(stream);
}

void Console::startReading()
{
    m_notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &Console::read);
}

void Console::read()
{
    std::array<char, 4096> chunk;
    const ssize_t count = ::read(STDIN_FILENO, chunk.data(), chunk.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    if (count <= 0) {
        m_notifier->setEnabled(false);
        if (!m_partial.isEmpty()) {
            Q_EMIT typed(QString::fromUtf8(std::exchange(m_partial, {})));
        }
        Q_EMIT inputEnded();
        return;
    }
    m_partial.append(chunk.data(), count);
    for (qsizetype end = m_partial.indexOf('\n'); end >= 0; end = m_partial.indexOf('\n')) {
        const QString line = QString::fromUtf8(m_partial.first(end));
        m_partial.remove(0, end + 1);
        Q_EMIT typed(line);
    }
}
