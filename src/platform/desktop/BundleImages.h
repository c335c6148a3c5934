#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

#include <optional>

class QWidget;

// The pictures among the bundle's resources: each is there as NAME.png and, in twice the size, as
// NAME@2x.png. Main thread.
namespace BundleImages {

// Both sizes of a picture; none where there is no such resource or it is no picture. It is read
// once and then kept, so that an upgraded or removed package takes nothing away from a running
// program.
[[nodiscard]] std::optional<QIcon> icon(const QString& name);

// The picture as it fits the widget, in its size and for its screen; a null one where there is
// none.
[[nodiscard]] QPixmap pixmap(const QString& name, const QWidget& place);

} // namespace BundleImages
