#include "settings/ServicePort.h"

#include "localisation/Numbers.h"
#include "settings/OemOptions.h"

using namespace Qt::StringLiterals;

PortArgument PortArgument::of(const QStringList& arguments)
{
    const QStringView prefix = u"port=";
    PortArgument result;
    for (const QString& argument : arguments) {
        if (argument.startsWith(prefix)) {
            result.port = parseInteger<quint16>(QStringView(argument).sliced(prefix.size()));
            result.invalid = result.port ? QString() : argument;
        }
    }
    return result;
}

quint16 servicePort(const QStringList& arguments, const OemOptions& options)
{
    return PortArgument::of(arguments).port.value_or(
        options.value<quint16>(u"port"_s).value_or(kUsualServicePort));
}
