#include "Inspector.h"

#include "window_kit/Contrast.h"
#include "window_kit/ElidedLabel.h"
#include "windows/AcknowledgementText.h"

#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QComboBox>
#include <QFontInfo>
#include <QHash>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Points.
constexpr int kAir = 4;           // around a button's words
constexpr int kPictureGap = 6;    // between a button's picture and its words
constexpr int kFewestLetters = 7; // of a name that is elided

// What a widget has to say, and where; what that needs.
struct Words {
    QString text;
    QRect place; // in the widget
    QSize need;
};

QSize sizeOf(const QWidget& widget, const QString& text)
{
    return widget.fontMetrics().size(Qt::TextShowMnemonic, text);
}

Words wordsOf(const QLabel& label)
{
    const QRect place = label.contentsRect();
    if (const auto* const question = qobject_cast<const AcknowledgementText*>(&label)) {
        return {question->text(), place, {0, question->heightForWidth(place.width())}};
    }
    const auto* const elided = qobject_cast<const ElidedLabel*>(&label);
    if (elided == nullptr && label.wordWrap()) {
        const QRect wrapped = label.fontMetrics().boundingRect(
            QRect(0, 0, place.width(), QWIDGETSIZE_MAX), Qt::TextWordWrap, label.text());
        return {label.text(), place, wrapped.size()};
    }
    const QSize need = sizeOf(label, label.text());
    // One that is elided was made to fit.
    return {label.text(), place, {elided != nullptr ? 0 : need.width(), need.height()}};
}

Words wordsOf(const QAbstractButton& button)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    if (qobject_cast<const QCheckBox*>(&button) != nullptr) {
        const QRect place =
            button.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &button);
        return {button.text(), place, sizeOf(button, button.text())};
    }
    const QRect place =
        button.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &button);
    const QSize picture = button.icon().isNull() ? QSize(0, 0) : button.iconSize();
    if (button.text().isEmpty()) {
        return {{}, place, picture + QSize(kAir, kAir)};
    }
    const QSize words = sizeOf(button, button.text());
    return {button.text(),
            place,
            {picture.width() + (picture.isEmpty() ? 0 : kPictureGap) + words.width() + 2 * kAir,
             std::max(picture.height(), words.height()) + kAir}};
}

Words wordsOf(const QLineEdit& field)
{
    QStyleOptionFrame option;
    option.initFrom(&field);
    option.lineWidth = field.style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &field);
    const QRect place = field.style()
                            ->subElementRect(QStyle::SE_LineEditContents, &option, &field)
                            .marginsRemoved(field.textMargins());
    const QString text = field.text().isEmpty() ? field.placeholderText() : field.displayText();
    return {text, place, sizeOf(field, text) + QSize(4, 0)}; // it keeps two points on each side
}

Words wordsOf(const QComboBox& box)
{
    QStyleOptionComboBox option;
    option.initFrom(&box);
    option.editable = box.isEditable();
    const QRect place = box.style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                    QStyle::SC_ComboBoxEditField, &box);
    QSize need;
    for (int item = 0; item < box.count(); ++item) {
        need = need.expandedTo(sizeOf(box, box.itemText(item)));
    }
    return {box.currentText(), place, need};
}

std::optional<Words> wordsOf(const QWidget& widget)
{
    if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
        return label->text().isEmpty() ? std::nullopt : std::optional(wordsOf(*label));
    }
    if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
        return wordsOf(*button);
    }
    if (const auto* const field = qobject_cast<const QLineEdit*>(&widget)) {
        return wordsOf(*field);
    }
    if (const auto* const box = qobject_cast<const QComboBox*>(&widget)) {
        return wordsOf(*box);
    }
    return std::nullopt;
}

// The widgets of a window that are seen; not what the toolkit makes its own of.
void forEachSeen(const QWidget& widget, const std::function<void(QWidget&)>& use)
{
    for (QObject* const child : widget.children()) {
        auto* const seen = qobject_cast<QWidget*>(child);
        if (seen == nullptr || seen->isWindow() || !seen->isVisible()) {
            continue;
        }
        use(*seen);
        if (qobject_cast<const QAbstractScrollArea*>(seen) == nullptr &&
            qobject_cast<const QLineEdit*>(seen) == nullptr &&
            qobject_cast<const QComboBox*>(seen) == nullptr) {
            forEachSeen(*seen, use);
        }
    }
}

QString elidedFault(const ElidedLabel& label)
{
    const bool isElided = label.text().endsWith(u'…');
    if (isElided && label.toolTip().isEmpty()) {
        return u"is elided, and no tool tip has it whole"_s;
    }
    return isElided && label.text().size() <= kFewestLetters ? u"shows hardly a letter"_s
                                                             : QString();
}

// Painted from so few pixels that it is blurred, or too small beside the text.
QString pictureFault(const QWidget& widget)
{
    QSizeF shown;
    QSizeF pixels;
    if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
        const QPixmap picture = label->pixmap(Qt::ReturnByValue);
        shown = picture.deviceIndependentSize();
        pixels = picture.size();
        if (shown.width() > label->contentsRect().width() ||
            shown.height() > label->contentsRect().height()) {
            return u"the picture is cut"_s;
        }
    } else if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
        if (!button->icon().isNull()) {
            const QPixmap picture =
                button->icon().pixmap(button->iconSize(), widget.devicePixelRatioF());
            shown = button->iconSize();
            pixels = picture.size();
        }
    }
    if (shown.isEmpty()) {
        return {};
    }
    if (pixels.height() < shown.height() * widget.devicePixelRatioF() - 1) {
        return u"the picture has %1 pixels for %2 points"_s.arg(pixels.height())
            .arg(shown.height());
    }
    return shown.height() < QFontInfo(widget.font()).pixelSize()
               ? u"the picture is smaller than the text"_s
               : QString();
}

// The points between a button's picture and its words, measured in what is painted.
double gapIn(QAbstractButton& button)
{
    const QImage image = button.grab().toImage();
    const double scale = image.devicePixelRatio();
    const auto isPlain = [&](int x) {
        for (int y = image.height() / 4; y < image.height() * 3 / 4; ++y) {
            if (image.pixel(x, y) != image.pixel(qRound(4 * scale), y)) {
                return false;
            }
        }
        return true;
    };
    int x = qRound(4 * scale);
    while (x < image.width() && isPlain(x)) {
        ++x;
    }
    x += qRound(button.iconSize().width() * scale / 2); // inside the picture
    while (x < image.width() && !isPlain(x)) {
        ++x;
    }
    const int end = x;
    while (x < image.width() && isPlain(x)) {
        ++x;
    }
    return (x - end) / scale;
}

QStringList faultsOf(QWidget& widget)
{
    QStringList faults;
    if (const auto* const label = qobject_cast<const ElidedLabel*>(&widget)) {
        faults += elidedFault(*label);
    }
    faults += pictureFault(widget);
    const auto words = wordsOf(widget);
    if (words && (words->need.width() > words->place.width() ||
                  words->need.height() > words->place.height())) {
        faults += u"\"%1\" needs %2x%3 and has %4x%5"_s.arg(words->text)
                      .arg(words->need.width())
                      .arg(words->need.height())
                      .arg(words->place.width())
                      .arg(words->place.height());
    }
    if (auto* const button = qobject_cast<QPushButton*>(&widget);
        button != nullptr && !button->icon().isNull() && !button->text().isEmpty()) {
        if (const double gap = gapIn(*button); gap < kPictureGap - 1) {
            faults += u"the picture is %1 points from the words"_s.arg(gap);
        }
    }
    if (const auto* const tree = qobject_cast<const QTreeWidget*>(&widget)) {
        for (int column = 0; column < tree->columnCount(); ++column) {
            if (tree->header()->sectionSize(column) < tree->header()->sectionSizeHint(column)) {
                faults += u"column %1 is too narrow for its title"_s.arg(column);
            }
        }
    }
    faults.removeAll(QString());
    return faults;
}

QStringList faultsOfPlace(const QWidget& widget)
{
    QStringList faults;
    const QWidget& parent = *widget.parentWidget();
    if (!parent.rect().contains(widget.geometry())) {
        faults += u"sticks out"_s;
    }
    for (const QObject* const child : parent.children()) {
        const auto* const sibling = qobject_cast<const QWidget*>(child);
        if (sibling != nullptr && sibling != &widget && sibling->isVisible() &&
            !sibling->isWindow() && sibling->geometry().intersects(widget.geometry())) {
            faults += u"overlaps "_s + sibling->objectName();
        }
    }
    return faults;
}

// The contrast of the clearest pixel with what there is most of.
double contrastIn(const QImage& image, const QRect& place)
{
    QHash<QRgb, int> counts;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    double best = 1;
    for (auto colour = counts.cbegin(); colour != counts.cend(); ++colour) {
        best = std::max(best, Contrast::ratio(QColor(most.key()), QColor(colour.key())));
    }
    return best;
}

// The rows of text in what is painted there: whatever is not one plain line of pixels.
QList<QRect> rowsIn(const QImage& image, const QRect& place)
{
    const auto isPlain = [&](int y) {
        const QRgb first = image.pixel(place.left(), y);
        for (int x = place.left(); x <= place.right(); ++x) {
            if (image.pixel(x, y) != first) {
                return false;
            }
        }
        return true;
    };
    QList<QRect> rows;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        const int top = y;
        while (y <= place.bottom() && !isPlain(y)) {
            ++y;
        }
        if (y - top > 4) {
            rows += QRect(QPoint(place.left(), top), QPoint(place.right(), y - 1));
        }
    }
    return rows;
}

} // namespace

QStringList Inspector::faultsOfLayout(const QWidget& window)
{
    QStringList faults;
    forEachSeen(window, [&](QWidget& widget) {
        for (const QString& fault : faultsOf(widget) + faultsOfPlace(widget)) {
            faults += widget.objectName() + u": "_s + fault;
        }
    });
    if (qobject_cast<const QMenu*>(&window) != nullptr) {
        if (window.size() != window.size().expandedTo(window.sizeHint())) {
            faults += u"is smaller than its items"_s;
        }
        if (window.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &window) <
            QFontInfo(window.font()).pixelSize()) {
            faults += u"the pictures are smaller than the text"_s;
        }
    }
    return faults;
}

QStringList Inspector::faultsOfColours(QWidget& window)
{
    QStringList faults;
    if (QWidget* const focus = window.focusWidget()) {
        focus->clearFocus(); // its caret is no text
    }
    const QImage image = window.grab().toImage();
    const double scale = image.devicePixelRatio();
    const auto pixels = [&](const QWidget& widget, const QRect& place) {
        const QRect inWindow(widget.mapTo(&window, place.topLeft()), place.size());
        return QRectF(inWindow.topLeft() * scale, inWindow.size() * scale)
            .toRect()
            .intersected(image.rect());
    };
    const auto check = [&](const QWidget& widget, const QRect& place, const QString& text) {
        if (const double contrast = contrastIn(image, place); contrast < Contrast::kReadable) {
            faults +=
                u"%1: the contrast of \"%2\" is %3"_s.arg(widget.objectName(), text).arg(contrast);
        }
    };
    forEachSeen(window, [&](QWidget& widget) {
        if (const auto* const area = qobject_cast<const QAbstractScrollArea*>(&widget)) {
            for (const QRect& row :
                 rowsIn(image, pixels(*area->viewport(), area->viewport()->rect()))) {
                check(widget, row, u"row %1"_s.arg(row.top() / scale));
            }
            return;
        }
        const auto words = wordsOf(widget);
        // What can't be pressed just now may look so.
        const bool isOff = !widget.isEnabled() && qobject_cast<QPushButton*>(&widget) != nullptr;
        if (words && !words->text.trimmed().isEmpty() && !isOff) {
            check(widget, pixels(widget, words->place), words->text);
        }
    });
    return faults;
}

int Inspector::clearPixels(const QImage& picture, const QColor& background)
{
    constexpr double kVisible = 3;
    int clear = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor shown = Contrast::over(picture.pixelColor(x, y), background);
            clear += Contrast::ratio(shown, background) >= kVisible ? 1 : 0;
        }
    }
    return clear;
}
