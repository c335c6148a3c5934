#include "window_kit/Logo.h"

#include "platform/desktop/BundleImages.h"
#include "platform/files/FilePaths.h"
#include "platform/files/RegularFile.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QPixmap>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kSize(160, 36);

QString customPath()
{
    return FilePaths::preferences(u"custom-logo.png"_s);
}

// Bytes that are no picture leave the label as it is.
void showPicture(QLabel& logo, QByteArray& bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize whole = reader.size();
    if (whole.isEmpty()) {
        return;
    }
    const qreal scale = logo.devicePixelRatioF();
    const QSize largest = kSize * scale;
    if (whole.width() > largest.width() || whole.height() > largest.height()) {
        reader.setScaledSize(whole.scaled(largest, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
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
    const QPixmap picture = BundleImages::pixmap(isDark ? u"image-dark"_s : u"image-light"_s, kSize,
                                                 logo.devicePixelRatioF());
    if (!picture.isNull()) {
        logo.setPixmap(picture);
    }
}

void Logo::refresh(QLabel& logo, bool& logoChanged)
{
    constexpr qsizetype kLargestFile = 16 * 1024 * 1024;
    auto custom = RegularFile::read(customPath(), kLargestFile);
    if (custom.state != RegularFile::State::Missing) {
        showPicture(logo, custom.bytes);
        logoChanged = true;
    } else if (logoChanged) {
        showBundled(logo);
    }
}

void Logo::followAppearance(QLabel& logo)
{
    if (!QFileInfo::exists(customPath())) {
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
