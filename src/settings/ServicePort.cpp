#include "settings/ServicePort.h"

#include "settings/OemOptions.h"
#include "settings/PortArgument.h"

quint16 servicePort(const QStringList& arguments, const OemOptions& options)
{
    const auto port = PortArgument::of(arguments).port;
    return port ? *port : options.port().value_or(kUsualServicePort);
}
