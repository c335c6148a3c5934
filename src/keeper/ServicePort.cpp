#include "keeper/ServicePort.h"

#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"
#include "settings/PortArgument.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

quint16 bundlePort()
{
    constexpr quint16 kUsual = 62188;
    const auto path = MainBundle::resourcePath(u"oem"_s, u"plist"_s);
    const auto list = path ? PropertyList::readDictionary(*path) : std::nullopt;
    const QVariant value = list ? list->value(u"port"_s) : QVariant();
    const qlonglong port = value.typeId() == QMetaType::LongLong ? value.toLongLong() : 0;
    return port > 0 && port <= std::numeric_limits<quint16>::max() ? static_cast<quint16>(port)
                                                                   : kUsual;
}

} // namespace

quint16 servicePort(const QStringList& arguments)
{
    const auto port = PortArgument::of(arguments).port;
    return port ? *port : bundlePort();
}
