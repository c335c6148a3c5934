#include "simulator/Console.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace {

struct Look {
    const char* prefix;
    const char* colour; // an SGR sequence of ECMA-48, section 8.3.117
};

Look lookOf(Voice voice)
{
    switch (voice) {
    case Voice::Agent:
        return {"<- ", "\033[36m"};
    case Voice::Service:
        return {"-> ", "\033[32m"};
    case Voice::Failure:
        return {"!! ", "\033[31m"};
    case Voice::Step:
        break;
    }
    return {"   ", "\033[2m"};
}

} // namespace

Console::Console(QObject* parent) : QObject(parent) {}

Console::~Console() = default;

void Console::print(Voice voice, const QString& line)
{
    std::FILE* stream = voice == Voice::Failure ? stderr : stdout;
    const Look look = lookOf(voice);
    const bool isColoured = ::isatty(::fileno(stream)) == 1;
    std::fputs(isColoured ? look.colour : "", stream);
    std::fputs(look.prefix, stream);
    std::fputs(line.toUtf8().constData(), stream);
    std::fputs(isColoured ? "\033[0m\n" : "\n", stream);
    std::fflush(stream);
}

void Console::startReading()
{
    m_notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &Console::read);
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
