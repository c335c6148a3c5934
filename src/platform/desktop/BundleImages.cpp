#include "platform/desktop/BundleImages.h"

#include "platform/files/MainBundle.h"

#include <QApplication>
#include <QBuffer>
#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QImageReader>
#include <QPainter>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleOption>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// One file of a picture, as it was read: much smaller than the picture in it.
struct File {
    QSize size;
    QByteArray bytes;
};

// Paints a picture in any size. One that is not there is scaled down from the largest, which looks
// as if it were drawn in that size.
class Picture : public QIconEngine {
public:
    // From the smallest to the largest.
    Picture(QString name, QList<File> files) : m_name(std::move(name)), m_files(std::move(files)) {}

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        const QSize largest = m_files.constLast().size;
        const QSize fitting =
            largest.scaled(size.boundedTo(largest), Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
        const QString key = u"%1 %2x%3 %4 %5"_s.arg(m_name)
                                .arg(fitting.width())
                                .arg(fitting.height())
                                .arg(static_cast<int>(mode))
                                .arg(QGuiApplication::palette().cacheKey());
        QPixmap pixmap;
        if (!QPixmapCache::find(key, &pixmap)) {
            pixmap = QPixmap::fromImage(scaled(fitting));
            if (mode != QIcon::Normal) {
                QStyleOption option;
                option.palette = QGuiApplication::palette();
                pixmap = QApplication::style()->generatedIconPixmap(mode, pixmap, &option);
            }
            QPixmapCache::insert(key, pixmap);
        }
        return pixmap;
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal scale = painter->device()->devicePixelRatio();
        QPixmap pixmap = this->pixmap(rect.size() * scale, mode, state);
        pixmap.setDevicePixelRatio(scale);
        const QSizeF spare = QSizeF(rect.size()) - pixmap.deviceIndependentSize();
        painter->drawPixmap(rect.topLeft() + QPointF(spare.width(), spare.height()) / 2, pixmap);
    }

    QList<QSize> availableSizes(QIcon::Mode /*mode*/, QIcon::State /*state*/) override
    {
        QList<QSize> sizes;
        for (const File& file : m_files.first(std::min<qsizetype>(m_files.size(), 2))) {
            sizes.append(file.size);
        }
        return sizes;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new Picture(*this); }

private:
    [[nodiscard]] QImage scaled(const QSize& size) const
    {
        const auto exact = std::find_if(m_files.cbegin(), m_files.cend(),
                                        [&](const File& file) { return file.size == size; });
        const File& file = exact != m_files.cend() ? *exact : m_files.constLast();
        return BundleImages::scaled(QImage::fromData(file.bytes, "PNG"), size);
    }

    const QString m_name;
    const QList<File> m_files;
};

QIcon read(const QString& name)
{
    QList<File> files;
    for (const int scale : {1, 2, 4}) {
        const QString suffix = scale == 1 ? QString() : u"@%1x"_s.arg(scale);
        const auto path = MainBundle::resourcePath(name + suffix, u"png"_s);
        QFile file(path.value_or(QString()));
        if (path && file.open(QIODevice::ReadOnly)) {
            const QByteArray bytes = file.readAll();
            QBuffer buffer;
            buffer.setData(bytes);
            const QSize size = QImageReader(&buffer, "PNG").size();
            // If a deployment replaced the base picture, our larger one may still lie beside it:
            // take only what fits.
            const bool isFitting = files.isEmpty() || size == files.constFirst().size * scale;
            if (!size.isEmpty() && isFitting) {
                files.append({size, bytes});
            }
        }
    }
    return files.isEmpty() ? QIcon() : QIcon(new Picture(name, files));
}

} // namespace

QImage BundleImages::scaled(const QImage& image, const QSize& size)
{
    return image.size() == size
               ? image
               : image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                     .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QIcon BundleImages::icon(const QString& name)
{
    // Never destroyed: after the application object no picture may be.
    static auto* const pictures = new QHash<QString, QIcon>;
    QIcon& picture = (*pictures)[name];
    if (picture.isNull()) {
        picture = read(name);
    }
    return picture;
}

QPixmap BundleImages::pixmap(const QString& name, const QSize& size, qreal scale)
{
    // Whole pixels, and none beyond the size.
    const QSize pixels(static_cast<int>(size.width() * scale),
                       static_cast<int>(size.height() * scale));
    QPixmap pixmap = icon(name).pixmap(pixels, 1.0);
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}
