#include "settings/PortArgument.h"

#include "service_link/Protocol.h"

#include <QStringView>

#include <limits>

using namespace Qt::StringLiterals;

PortArgument PortArgument::of(const QStringList& arguments)
{
    PortArgument result;
    const QLatin1StringView prefix = "port="_L1;
    for (const QString& argument : arguments) {
        if (!argument.startsWith(prefix)) {
            continue;
        }
        const auto number = Protocol::parseInteger64(QStringView(argument).sliced(prefix.size()));
        const bool isPort =
            number && *number >= 0 && *number <= std::numeric_limits<quint16>::max();
        result.port = isPort ? std::optional(static_cast<quint16>(*number)) : std::nullopt;
        result.invalid = isPort ? QString() : argument;
    }
    return result;
}
