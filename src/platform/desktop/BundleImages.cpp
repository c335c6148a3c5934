#include "platform/desktop/BundleImages.h"

#include "platform/files/MainBundle.h"

#include <QHash>
#include <QPixmap>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

QIcon read(const QString& name)
{
    QIcon icon;
    // Both sizes on every screen: a status bar may ask for either.
    for (const auto& [suffix, scale] : {std::pair(QString(), 1.0), std::pair(u"@2x"_s, 2.0)}) {
        const auto path = MainBundle::resourcePath(name + suffix, u"png"_s);
        if (!path) {
            continue;
        }
        QPixmap pixmap(*path);
        pixmap.setDevicePixelRatio(scale);
        if (!pixmap.isNull()) {
            icon.addPixmap(pixmap);
        }
    }
    return icon;
}

} // namespace

std::optional<QIcon> BundleImages::icon(const QString& name)
{
    // Never destroyed: after the application object no picture may be.
    static auto* const pictures = new QHash<QString, QIcon>;
    QIcon& picture = (*pictures)[name];
    if (picture.isNull()) {
        picture = read(name);
    }
    return picture.isNull() ? std::nullopt : std::optional(picture);
}

QPixmap BundleImages::pixmap(const QString& name, const QWidget& place)
{
    const auto picture = icon(name);
    return picture ? picture->pixmap(place.size(), place.devicePixelRatioF()) : QPixmap();
}
