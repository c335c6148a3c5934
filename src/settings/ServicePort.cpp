#include "settings/ServicePort.h"

#include "localisation/Numbers.h"
#include "settings/OemOptions.h"

#include <utility>

using namespace Qt::StringLiterals;

PortArgument PortArgument::of(const QStringList& arguments)
{
    const QStringView prefix = u"port=";
    PortArgument result;
    for (const QString& argument : arguments) {
        if (argument.startsWith(prefix)) {
            const auto number = parseInteger64(QStringView(argument).sliced(prefix.size()));
            const bool isPort = number && std::in_range<quint16>(*number);
            result.port = isPort ? std::optional(static_cast<quint16>(*number)) : std::nullopt;
            result.invalid = isPort ? QString() : argument;
        }
    }
    return result;
}

quint16 servicePort(const QStringList& arguments, const OemOptions& options)
{
    return PortArgument::of(arguments).port.value_or(
        options.value<quint16>(u"port"_s).value_or(kUsualServicePort));
}
