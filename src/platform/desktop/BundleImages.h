#pragma once

#include <QIcon>
#include <QString>

#include <optional>

// The pictures among the bundle's resources: each is there as NAME.png and, in twice the size, as
// NAME@2x.png. Main thread.
namespace BundleImages {

// Both sizes of a picture; none where there is no such resource or it is no picture.
[[nodiscard]] std::optional<QIcon> icon(const QString& name);

} // namespace BundleImages
