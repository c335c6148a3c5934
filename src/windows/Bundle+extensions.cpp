#include "windows/Bundle+extensions.h"

#include "platform/files/MainBundle.h"

namespace {

std::optional<QString> text(const QString& key)
{
    const QVariant value = MainBundle::infoValue(key);
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

std::optional<QString> Bundle::releaseVersionNumber()
{
    return text(QStringLiteral("CFBundleShortVersionString"));
}

std::optional<QString> Bundle::buildVersionNumber()
{
    return text(QStringLiteral("CFBundleVersion"));
}
