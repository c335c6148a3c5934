#pragma once

#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QString>

// The pictures among the bundle's resources: each is there as NAME.png, as NAME@2x.png in twice the
// size, and as NAME@4x.png where it may be shown larger still. Those of other sizes don't count.
// Main thread.
namespace BundleImages {

// A picture for every size and scale, up to its largest file's; a null one where there is no such
// resource or it is no picture. The sizes that it names are those of the first two files, which
// status bars are sent. It is read once and then kept, so that an upgraded or removed package takes
// nothing away from a running program.
QIcon icon(const QString& name);

// The picture in that size, in points, for a screen of that scale; a null one where there is none.
[[nodiscard]] QPixmap pixmap(const QString& name, const QSize& size, qreal scale);

// The picture in that size, in true colour: of one bit a pixel it would become noise.
[[nodiscard]] QImage scaled(const QImage& image, const QSize& size);

} // namespace BundleImages
