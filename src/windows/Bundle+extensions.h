#pragma once

#include <QString>

#include <optional>

// What the application's own property list says about the program. Main thread.
namespace Bundle {

// "CFBundleShortVersionString"; none where the list, the key or a text under it is missing.
[[nodiscard]] std::optional<QString> releaseVersionNumber();

// "CFBundleVersion", likewise.
[[nodiscard]] std::optional<QString> buildVersionNumber();

// A text that no installation may lack: fatalState() where it is missing.
[[nodiscard]] QString required(const QString& key);

} // namespace Bundle
