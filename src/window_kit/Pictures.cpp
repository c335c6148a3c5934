#include "window_kit/Pictures.h"

#include "platform/desktop/BundleImages.h"
#include "platform/files/FilePaths.h"
#include "platform/files/RegularFile.h"

#include <QAbstractButton>
#include <QFontInfo>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QVariant>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// Of a font of 10 points on a screen of 96 points an inch.
constexpr qreal kUsualFont = 13.5;
constexpr int kGap = 4; // beside words, more than what styles leave

constexpr QSize kLogo(160, 36);

// A widget's own: the picture that it shows, and how large it was designed.
constexpr const char* kName = "pictureName";
constexpr const char* kSize = "pictureSize";
constexpr const char* kLargest = "pictureLargest";

// The size that was noted when this was first asked for.
QSize designed(QWidget& widget, const char* key, const QSize& size)
{
    if (!widget.property(key).isValid()) {
        widget.setProperty(key, size);
    }
    return widget.property(key).toSize();
}

// The picture in these bytes, made smaller where it is larger than a logo; null for none.
QPixmap customLogo(const QByteArray& bytes, qreal scale)
{
    const QImage whole = QImage::fromData(bytes);
    const QSize largest = kLogo * scale;
    QSize size = whole.size();
    if (size.width() > largest.width() || size.height() > largest.height()) {
        size = size.scaled(largest, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    }
    QPixmap pixmap = QPixmap::fromImage(BundleImages::scaled(whole, size));
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

// Leaves a gap beside the text.
QPixmap withGap(const QPixmap& picture, bool isLeftToRight)
{
    const qreal scale = picture.devicePixelRatio();
    const QSize gap(static_cast<int>(std::lround(kGap * scale)), 0);
    QPixmap wide(picture.size() + gap);
    wide.setDevicePixelRatio(scale);
    wide.fill(Qt::transparent);
    QPainter(&wide).drawPixmap(QPointF(isLeftToRight ? 0 : kGap, 0), picture);
    return wide;
}

} // namespace

QSize Pictures::grown(const QSize& size, const QWidget& widget)
{
    return size * std::max(1.0, QFontInfo(widget.font()).pixelSize() / kUsualFont);
}

void Pictures::show(QLabel& label, const QString& name)
{
    label.setProperty(kName, name);
    const QSize size = grown(designed(label, kSize, label.minimumSize()), label)
                           .boundedTo(designed(label, kLargest, label.maximumSize()));
    label.setFixedSize(size);
    label.setPixmap(BundleImages::pixmap(name, size, label.devicePixelRatioF()));
}

void Pictures::show(QAbstractButton& button, const QString& name)
{
    button.setProperty(kName, name);
    const QSize size = grown(designed(button, kSize, button.iconSize()), button);
    const QIcon icon = BundleImages::icon(name);
    if (icon.isNull() || button.text().isEmpty()) {
        button.setIconSize(size);
        button.setIcon(icon);
        return;
    }
    button.setIconSize(size + QSize(kGap, 0));
    button.setIcon(withGap(icon.pixmap(size, button.devicePixelRatioF()),
                           button.layoutDirection() == Qt::LeftToRight));
}

void Pictures::refresh(QWidget& window)
{
    const auto widgets = window.findChildren<QWidget*>();
    for (QWidget* const widget : widgets) {
        const QString name = widget->property(kName).toString();
        if (name.isEmpty()) {
            continue;
        }
        if (auto* const label = qobject_cast<QLabel*>(widget)) {
            show(*label, name);
        } else if (auto* const button = qobject_cast<QAbstractButton*>(widget)) {
            show(*button, name);
        }
    }
}

bool Pictures::showLogo(const QWidget& window, bool mayBeCustom)
{
    constexpr qsizetype kLargestFile = 16 * 1024 * 1024;
    auto* const logo = window.findChild<QLabel*>(u"logo"_s);
    if (logo == nullptr) {
        return false;
    }
    const qreal scale = logo->devicePixelRatioF();
    QPixmap picture;
    bool isCustom = false;
    if (mayBeCustom) {
        const auto custom =
            RegularFile::read(FilePaths::preferences(u"custom-logo.png"_s), kLargestFile);
        isCustom = custom.state != RegularFile::State::Missing;
        picture = customLogo(custom.bytes, scale);
    }
    if (!isCustom) {
        const bool isDark = window.palette().color(QPalette::Window).lightness() < 128;
        picture = BundleImages::pixmap(isDark ? u"image-dark"_s : u"image-light"_s, kLogo, scale);
    }
    if (!picture.isNull()) {
        logo->setPixmap(picture);
    }
    return isCustom;
}

void Pictures::setWindowIcon(QWidget& window)
{
    QIcon all;
    for (const char* const name : {"vantoryAgent-16", "vantoryAgent-32", "vantoryAgent-48",
                                   "vantoryAgent", "vantoryAgent-128", "vantoryAgent-256"}) {
        const QIcon icon = BundleImages::icon(QLatin1StringView(name));
        const QList<QSize> sizes = icon.availableSizes();
        for (const QSize& size : sizes) {
            all.addPixmap(icon.pixmap(size, 1.0));
        }
    }
    window.setWindowIcon(all);
}
