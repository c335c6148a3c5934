#include "Album.h"
#include "platform/desktop/ToolkitWords.h"
#include "platform/threads/MainQueue.h"
#include "window_kit/Contrast.h"
#include "window_kit/ElidedLabel.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMenu>
#include <QScreen>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>
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
void forEachSeen(const QWidget& widget, const std::function<void(QWidget&)>& use)
{
    for (QObject* const child : widget.children()) {
        auto* const seen = qobject_cast<QWidget*>(child);
        if (seen != nullptr && !seen->isWindow() && seen->isVisible()) {
            use(*seen);
            if (textOf(*seen).isEmpty() &&
                qobject_cast<const QAbstractScrollArea*>(seen) == nullptr) {
                forEachSeen(*seen, use);
            }
        }
    }
}

// Texts that are cut, widgets that overlap or stick out.
QStringList faultsOfLayout(const QWidget& window)
{
    QStringList faults;
    forEachSeen(window, [&](const QWidget& widget) {
        const QWidget& parent = *widget.parentWidget();
        const QSize need = needOf(widget);
        if (!textOf(widget).isEmpty() && need != need.boundedTo(widget.size())) {
            faults += u"%1: needs %2x%3 and has %4x%5"_s.arg(widget.objectName())
                          .arg(need.width())
                          .arg(need.height())
                          .arg(widget.width())
                          .arg(widget.height());
        }
        const auto* const label = qobject_cast<const ElidedLabel*>(&widget);
        if (label != nullptr && label->text().endsWith(u'…') &&
            (label->toolTip().isEmpty() || label->text().size() < 8)) {
            faults +=
                widget.objectName() + u": shows hardly a letter, or no tool tip has it whole"_s;
        }
        if (!parent.rect().contains(widget.geometry())) {
            faults += widget.objectName() + u": sticks out"_s;
        }
        for (const auto* const sibling :
             parent.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (sibling != &widget && sibling->isVisible() && !sibling->isWindow() &&
                sibling->geometry().intersects(widget.geometry())) {
                faults += widget.objectName() + u": overlaps "_s + sibling->objectName();
            }
        }
    });
    return faults;
}

// The contrast of the clearest pixel with what there is most of.
double contrastIn(const QImage& image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
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

// Texts that can't be told from what is behind them, by what was painted. What can't be pressed
// just now may look so.
QStringList faultsOfColours(QWidget& window)
{
    QStringList faults;
    if (QWidget* const focus = window.focusWidget()) {
        focus->clearFocus(); // its caret is no text
    }
    const QImage image = window.grab().toImage();
    forEachSeen(window, [&](const QWidget& widget) {
        if (!widget.isEnabled() || textOf(widget).isEmpty()) {
            return;
        }
        const QRect place(widget.mapTo(&window, QPoint()), widget.size());
        if (const double contrast = contrastIn(image.copy(place.adjusted(3, 3, -3, -3)));
            contrast < Contrast::kReadable) {
            faults += u"%1: a contrast of %2"_s.arg(widget.objectName()).arg(contrast);
        }
    });
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
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path()));
        QDir(m_root.path()).mkpath(u"var/lib/Halvern/vantoryAgent/logs"_s);
        MainQueue::attach();
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
        QStringList faults;
        Album(language, [&](const QString& name, QWidget& window) {
            const auto note = [&](const QStringList& found) {
                for (const QString& fault : found) {
                    faults += name + u": "_s + fault;
                }
            };
            note(faultsOfLayout(window));
            for (const auto& [look, palette] :
                 {std::pair("light"_L1, m_light), {"dark"_L1, dark()}}) {
                QApplication::setPalette(palette);
                QTest::qWait(1);
                note(faultsOfColours(window));
                takePicture(name, look, window);
            }
            const QSize largest = window.screen()->size() - kTaken; // one is 1366 by 768
            if (window.width() > largest.width() || window.height() > largest.height()) {
                faults += u"%1: %2x%3"_s.arg(name).arg(window.width()).arg(window.height());
            }
        });
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
    }

    void toolkitSpeaksTheLanguage()
    {
        if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) +
                           u"/qtbase_de.qm"_s)) {
            QSKIP("qt6-translations-l10n is not installed");
        }
        ToolkitWords::speak(languageCode(Language::German));
        QLineEdit field;
        const std::unique_ptr<QMenu> menu(field.createStandardContextMenu());
        QVERIFY(menu->actions().constFirst()->text().startsWith(u"&Rückgängig"));
    }

private:
    static void takePicture(const QString& name, QLatin1StringView look, QWidget& window)
    {
        const QString directory = qEnvironmentVariable("VANTORY_PICTURES");
        if (!directory.isEmpty()) {
            const QString file =
                u"%1-%2-%3.png"_s.arg(QLatin1StringView(QTest::currentDataTag()), look, name);
            QVERIFY(window.grab().save(QDir(directory).filePath(file)));
        }
    }

    const QPalette m_light = QApplication::style()->standardPalette();
    QTemporaryDir m_root;
};

QTEST_MAIN(TestLooks)
#include "tst_looks.moc"
