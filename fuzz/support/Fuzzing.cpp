#include "support/Fuzzing.h"

#include "logging/Logs.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void require(bool holds, const char* invariant)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", invariant);
        std::abort();
    }
}

// What the leak sanitizer overlooks: fontconfig keeps what it has found until the program ends.
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}

int Input::below(int limit)
{
    if (m_bytes.isEmpty()) {
        return 0;
    }
    const auto byte = static_cast<unsigned char>(m_bytes.front());
    m_bytes = m_bytes.sliced(1);
    return byte % limit;
}

int Input::any()
{
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
        number = number << 8 | static_cast<std::uint32_t>(below(256));
    }
    return static_cast<int>(number);
}

QString Input::text()
{
    const auto end = std::find(m_bytes.begin(), m_bytes.end(), '\xff');
    const qsizetype length = end - m_bytes.begin();
    const QString text = QString::fromUtf8(m_bytes.first(length));
    m_bytes = m_bytes.sliced(std::min(length + 1, m_bytes.size()));
    return text;
}

void printLog(const QString& /*message*/) {}

void printErrorLog(const QString& /*message*/) {}

void fatalState(const QString& /*why*/)
{
    throw FatalState();
}
