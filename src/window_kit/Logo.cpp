#include "window_kit/Logo.h"

#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QPixmap>

#include "platform/desktop/BundleImages.h"
#include "platform/files/FilePaths.h"

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kSize(160, 36);

QString customPath()
{
    return FilePaths::rooted(FilePaths::libraryDirectory() +
                             u"/Preferences/vantoryAgent/custom-logo.png"_s);
}

bool hasCustom()
{
    return QFileInfo::exists(customPath());
}

void showCustom(QLabel& logo)
{
    // Only a regular file: opening a pipe would wait for its writer.
    if (!QFileInfo(customPath()).isFile()) {
        return;
    }
    QImageReader reader(customPath());
    const QSize whole = reader.size();
    if (whole.isEmpty()) {
        return;
    }
    const qreal scale = logo.devicePixelRatioF();
    const QSize room = kSize * scale;
    if (whole.width() > room.width() || whole.height() > room.height()) {
        reader.setScaledSize(whole.scaled(room, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    }
    QPixmap pixmap = QPixmap::fromImageReader(&reader);
    if (!pixmap.isNull()) {
        pixmap.setDevicePixelRatio(scale);
        logo.setPixmap(pixmap);
    }
}

} // namespace

void Logo::showBundled(QLabel& logo)
{
    const bool isDark = logo.palette().color(QPalette::Window).lightness() < 128;
    const auto picture = BundleImages::icon(isDark ? u"image-dark"_s : u"image-light"_s);
    if (picture) {
        logo.setPixmap(picture->pixmap(kSize, logo.devicePixelRatioF()));
    }
}

void Logo::refresh(QLabel& logo, bool& logoChanged)
{
    if (hasCustom()) {
        showCustom(logo);
        logoChanged = true;
    } else if (logoChanged) {
        showBundled(logo);
    }
}

void Logo::followAppearance(QLabel& logo)
{
    if (!hasCustom()) {
        showBundled(logo);
    }
}

void Logo::setWindowIcon(QWidget& window)
{
    QIcon all;
    for (const char* const name : {"vantoryAgent-16", "vantoryAgent-32", "vantoryAgent-48",
                                   "vantoryAgent", "vantoryAgent-128", "vantoryAgent-256"}) {
        const auto icon = BundleImages::icon(QLatin1StringView(name));
        const QList<QSize> sizes = icon ? icon->availableSizes() : QList<QSize>();
        for (const QSize& size : sizes) {
            all.addPixmap(icon->pixmap(size, 1.0));
        }
    }
    window.setWindowIcon(all);
}
