#include "Album.h"
#include "window_kit/Contrast.h"
#include "window_kit/ElidedLabel.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Empty for what shows none.
QString textOf(const QWidget& widget)
{
    if (const auto* const field = qobject_cast<const QLineEdit*>(&widget)) {
        return field->text().isEmpty() ? field->placeholderText() : field->displayText();
    }
    const auto* const box = qobject_cast<const QComboBox*>(&widget);
    return box != nullptr ? box->currentText() : widget.property("text").toString().trimmed();
}

// What the text of a widget needs, by the widget itself or by its font.
QSize needOf(const QWidget& widget)
{
    if (qobject_cast<const ElidedLabel*>(&widget) != nullptr) {
        return {0, widget.fontMetrics().height()};
    }
    if (widget.hasHeightForWidth()) {
        return {0, widget.heightForWidth(widget.width())};
    }
    if (qobject_cast<const QLineEdit*>(&widget) != nullptr) {
        return widget.fontMetrics().size(0, textOf(widget)) + QSize(8, 2);
    }
    return widget.minimumSizeHint();
}

// The widgets of a window that are seen; not what the toolkit makes its own of.
QWidgetList seenIn(const QWidget& widget)
{
    QWidgetList seen;
    for (auto* const child : widget.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (!child->isWindow() && child->isVisible()) {
            seen += child;
            if (textOf(*child).isEmpty() && qobject_cast<QAbstractScrollArea*>(child) == nullptr) {
                seen += seenIn(*child);
            }
        }
    }
    return seen;
}

// Texts that are cut, widgets that overlap or stick out.
QStringList faultsOfLayout(const QWidget& window)
{
    QStringList faults;
    const QWidgetList seen = seenIn(window);
    for (const QWidget* const widget : seen) {
        const QSize need = needOf(*widget);
        if (!textOf(*widget).isEmpty() && need != need.boundedTo(widget->size())) {
            faults += widget->objectName() + u": cut"_s;
        }
        const auto* const label = qobject_cast<const ElidedLabel*>(widget);
        if (label != nullptr && label->text().endsWith(u'…') &&
            (label->toolTip().isEmpty() || label->text().size() < 8)) {
            faults += label->objectName() + u": hardly a letter, or no tool tip has it whole"_s;
        }
        if (!widget->parentWidget()->rect().contains(widget->geometry())) {
            faults += widget->objectName() + u": sticks out"_s;
        }
        for (const QWidget* const other : seen) {
            if (other != widget && other->parent() == widget->parent() &&
                other->geometry().intersects(widget->geometry())) {
                faults += widget->objectName() + u": overlaps "_s + other->objectName();
            }
        }
    }
    return faults;
}

// The contrast of the clearest pixel with what there is most of.
double contrastIn(const QImage& image)
{
    QHash<QRgb, int> counts;
    for (int i = 0; i < image.width() * image.height(); ++i) {
        ++counts[image.pixel(i % image.width(), i / image.width())];
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    double best = 1;
    for (auto colour = counts.cbegin(); colour != counts.cend(); ++colour) {
        best = std::max(best, Contrast::ratio(QColor(most.key()), QColor(colour.key())));
    }
    return best;
}

// Texts that can't be told from what is behind them, by what was painted. What can't be pressed
// just now may look so.
QStringList faultsOfColours(QWidget& window)
{
    QStringList faults;
    if (QWidget* const focus = window.focusWidget()) {
        focus->clearFocus(); // its caret is no text
    }
    const QImage image = window.grab().toImage();
    for (const QWidget* const widget : seenIn(window)) {
        const QRect place(widget->mapTo(&window, QPoint(3, 3)), widget->size() - QSize(6, 6));
        if (widget->isEnabled() && !textOf(*widget).isEmpty() &&
            contrastIn(image.copy(place)) < Contrast::kReadable) {
            faults += widget->objectName() + u": can't be read"_s;
        }
    }
    return faults;
}

// What panels, frames and title bars take of a screen.
constexpr QSize kTaken(8, 80);

// As a dark desktop has it, without a colour for what stands in an empty field.
QPalette dark()
{
    QPalette palette(QColor(49, 54, 59), QColor(42, 46, 50));
    palette.setColor(QPalette::Base, QColor(27, 30, 32));
    palette.setColor(QPalette::Highlight, QColor(61, 174, 233));
    palette.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128));
    return palette;
}

} // namespace

// Every window of the agent in every language, with a small font and a large one, light and dark.
//
// With VANTORY_PICTURES=DIRECTORY it takes a picture of each.
class TestLooks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(u"default.warning=false"_s); // of the offscreen screen
    }

    void everyWindow_data()
    {
        QTest::addColumn<Language>("language");
        QTest::addColumn<int>("font");
        for (const Language language :
             {Language::English, Language::French, Language::Italian, Language::Spanish,
              Language::German, Language::Korean, Language::Portuguese}) {
            for (const int font : {10, 16}) {
                QTest::addRow("%s-%d", qPrintable(languageCode(language)), font)
                    << language << font;
            }
        }
    }

    // The desktop turns dark and light again while windows are shown.
    void everyWindow()
    {
        QFETCH(Language, language);
        QFETCH(int, font);
        qputenv("LANGUAGE", languageCode(language).toUtf8()); // of dates
        QApplication::setFont(QFont(u"DejaVu Sans"_s, font));
        const QString pictures = qEnvironmentVariable("VANTORY_PICTURES");
        QStringList faults;
        Album(language, [&](const QString& name, QWidget& window) {
            QStringList found = faultsOfLayout(window);
            for (const auto& [look, palette] :
                 {std::pair("light"_L1, m_light), {"dark"_L1, dark()}}) {
                QApplication::setPalette(palette);
                QTest::qWait(1);
                found += faultsOfColours(window);
                if (!pictures.isEmpty()) {
                    QVERIFY(window.grab().save(u"%1/%2-%3-%4.png"_s.arg(
                        pictures, QLatin1StringView(QTest::currentDataTag()), look, name)));
                }
            }
            const QSize largest = window.screen()->size() - kTaken; // one is 1366 by 768
            if (window.size() != window.size().boundedTo(largest)) {
                found += u"larger than a screen"_s;
            }
            faults += found.replaceInStrings(QRegularExpression(u"^"_s), name + u": "_s);
        });
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
    }

private:
    const QPalette m_light = QApplication::style()->standardPalette();
    const AgentFixture m_files;
};

QTEST_MAIN(TestLooks)
#include "tst_looks.moc"
