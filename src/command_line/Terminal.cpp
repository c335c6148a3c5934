#include "command_line/Terminal.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void write(std::FILE* file, const QString& line)
{
    const QByteArray bytes = (line + u'\n').toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

} // namespace

void Terminal::print(const QString& line)
{
    write(stdout, line);
}

void Terminal::complain(const QString& line)
{
    write(stderr, u"vantoryAgent: "_s + line);
}
