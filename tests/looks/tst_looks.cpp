#include "Inspector.h"
#include "Samples.h"

#include "platform/desktop/ToolkitWords.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMenu>
#include <QScreen>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// What panels, frames and title bars take of a screen.
constexpr QSize kTaken(8, 80);

struct Tongue {
    const char* name;
    Language language;
};
const Tongue kTongues[] = {
    {"en", Language::English},    {"fr", Language::French}, {"it", Language::Italian},
    {"es", Language::Spanish},    {"de", Language::German}, {"ko", Language::Korean},
    {"pt", Language::Portuguese},
};

// As a dark desktop has it, without a colour for what stands in an empty field.
QPalette dark()
{
    QPalette palette;
    const QColor text(239, 240, 241);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::ToolTipText, QPalette::HighlightedText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, QColor(110, 113, 117));
    }
    palette.setColor(QPalette::Window, QColor(42, 46, 50));
    palette.setColor(QPalette::Button, QColor(49, 54, 59));
    palette.setColor(QPalette::Base, QColor(27, 30, 32));
    palette.setColor(QPalette::AlternateBase, QColor(35, 38, 41));
    palette.setColor(QPalette::ToolTipBase, QColor(49, 54, 59));
    palette.setColor(QPalette::Highlight, QColor(61, 174, 233));
    palette.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128));
    return palette;
}

QPalette palette(bool isDark)
{
    return isDark ? dark() : QApplication::style()->standardPalette();
}

} // namespace

// Every window of the agent in every language, with small fonts and large ones, light and dark. The
// scale is the process's.
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
        QTest::addColumn<QByteArray>("code");
        QTest::addColumn<Language>("language");
        QTest::addColumn<int>("font");
        QTest::addColumn<bool>("isDark");
        for (const Tongue& tongue : kTongues) {
            for (const int font : {9, 10, 12, 16}) {
                for (const bool isDark : {false, true}) {
                    const QByteArray row = QByteArray(tongue.name) + (isDark ? "-dark" : "-light") +
                                           '-' + QByteArray::number(font);
                    QTest::newRow(row.constData())
                        << QByteArray(tongue.name) << tongue.language << font << isDark;
                }
            }
        }
    }

    void everyWindow()
    {
        QFETCH(QByteArray, code);
        QFETCH(Language, language);
        QFETCH(int, font);
        QFETCH(bool, isDark);
        qputenv("LANGUAGE", code); // of dates
        QApplication::setFont(QFont(u"DejaVu Sans"_s, font));
        QApplication::setPalette(palette(isDark));
        QStringList faults;
        Samples::forEach(language, [&](const QString& name, QWidget& window) {
            QStringList found = Inspector::faultsOfLayout(window);
            found += Inspector::faultsOfColours(window);
            const QSize largest = window.screen()->size() - kTaken; // one is 1366 by 768
            if (window.width() > largest.width() || window.height() > largest.height()) {
                found += u"%1x%2 is too large"_s.arg(window.width()).arg(window.height());
            }
            for (const QString& fault : found) {
                faults += name + u": "_s + fault;
            }
            takePicture(name, window);
        });
        for (const QString& fault : std::as_const(faults)) {
            qInfo().noquote() << fault;
        }
        QVERIFY(faults.isEmpty());
    }

    // The desktop turns dark while a window is shown, and light again.
    void followsTheDesktop()
    {
        QApplication::setFont(QFont(u"DejaVu Sans"_s, 10));
        QApplication::setPalette(palette(false));
        QStringList faults;
        Samples::forEach(Language::English, [&](const QString& name, QWidget& window) {
            for (const bool isDark : {true, false}) {
                QApplication::setPalette(palette(isDark));
                QTest::qWait(1);
                for (const QString& fault : Inspector::faultsOfColours(window)) {
                    faults += name + (isDark ? u", dark: "_s : u", light: "_s) + fault;
                }
            }
        });
        QCOMPARE(faults.join(u'\n'), QString());
    }

    // A panel that draws the menu may be light or dark whatever the windows are.
    void menuPicturesAreClearOnEveryPanel()
    {
        int pictures = 0;
        Samples::forEach(Language::English, [&](const QString& /*name*/, QWidget& window) {
            if (qobject_cast<QMenu*>(&window) == nullptr) {
                return;
            }
            for (const QAction* const action : window.actions()) {
                if (action->icon().isNull()) {
                    continue;
                }
                ++pictures;
                const QImage image = action->icon().pixmap(QSize(16, 16), 1.0).toImage();
                for (const QColor panel : {QColor(0x2b, 0x2b, 0x2b), QColor(0xf5, 0xf5, 0xf5)}) {
                    const int clear = Inspector::clearPixels(image, panel);
                    QVERIFY2(clear > 70,
                             qPrintable(u"\"%1\" has %2 clear pixels on %3"_s.arg(action->text())
                                            .arg(clear)
                                            .arg(panel.name())));
                }
            }
        });
        QVERIFY(pictures > 3);
    }

    void toolkitSpeaksTheLanguage()
    {
        const std::pair<Language, QString> expectations[] = {
            {Language::French, u"Copier"_s},  {Language::Italian, u"Copia"_s},
            {Language::Spanish, u"Copiar"_s}, {Language::German, u"Kopieren"_s},
            {Language::Korean, u"복사(C)"_s}, {Language::Portuguese, u"Copiar"_s},
            {Language::English, u"Copy"_s},
        };
        if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) +
                           u"/qtbase_de.qm"_s)) {
            QSKIP("qt6-translations-l10n is not installed");
        }
        for (const auto& [language, copy] : expectations) {
            ToolkitWords::speak(languageCode(language));
            QLineEdit field;
            const std::unique_ptr<QMenu> menu(field.createStandardContextMenu());
            QStringList words;
            for (const QAction* const action : menu->actions()) {
                words += action->text().section(u'\t', 0, 0).remove(u'&');
            }
            QVERIFY2(words.contains(copy), qPrintable(words.join(u' ')));
        }
    }

private:
    static void takePicture(const QString& name, QWidget& window)
    {
        const QString directory = qEnvironmentVariable("VANTORY_PICTURES");
        if (!directory.isEmpty()) {
            const QString file = u"%1-%2x-%3.png"_s.arg(QLatin1StringView(QTest::currentDataTag()))
                                     .arg(window.devicePixelRatioF())
                                     .arg(name);
            QVERIFY(window.grab().save(QDir(directory).filePath(file)));
        }
    }

    QTemporaryDir m_root;
};

QTEST_MAIN(TestLooks)
#include "tst_looks.moc"
