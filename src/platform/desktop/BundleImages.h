#pragma once

#include <optional>

#include <QIcon>
#include <QString>

// The pictures among the bundle's resources. Each lies there as NAME.png and, in twice the size,
// NAME@2x.png. Main thread.
namespace BundleImages {

// A picture in both sizes; none where the bundle has no such resource or it is no picture.
[[nodiscard]] std::optional<QIcon> icon(const QString& name);

} // namespace BundleImages
