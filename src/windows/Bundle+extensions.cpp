#include "windows/Bundle+extensions.h"

#include "platform/files/MainBundle.h"

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> text(const QString& key)
{
    const QVariant value = MainBundle::infoValue(key);
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

std::optional<QString> Bundle::releaseVersionNumber()
{
    return text(u"CFBundleShortVersionString"_s);
}

std::optional<QString> Bundle::buildVersionNumber()
{
    return text(u"CFBundleVersion"_s);
}
