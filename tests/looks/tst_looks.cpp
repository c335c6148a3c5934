#include "AgentFixture.h"
#include "chat/ChatController.h"
#include "platform/desktop/BundleImages.h"
#include "window_kit/Contrast.h"
#include "window_kit/ElidedLabel.h"
#include "windows/ActivityWindow.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"
#include "windows/UserAcknowlegement.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QScreen>
#include <QStyle>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"Maximilian von Hohenstein-Wartenberg"_s;
const QString kShortName = u"Ann Carter"_s;

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

// Texts that are cut, widgets that stick out.
QStringList faultsOfLayout(const QWidget& window)
{
    QStringList faults;
    for (const QWidget* const widget : seenIn(window)) {
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
    }
    return faults;
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
        if (!widget->isEnabled() || textOf(*widget).isEmpty()) {
            continue;
        }
        const QRect place(widget->mapTo(&window, QPoint(3, 3)) * image.devicePixelRatio(),
                          (widget->size() - QSize(6, 6)) * image.devicePixelRatio());
        QHash<QRgb, int> colours; // and how many pixels have each
        for (int i = 0; i < place.width() * place.height(); ++i) {
            ++colours[image.pixel(place.x() + i % place.width(), place.y() + i / place.width())];
        }
        const QColor background = std::ranges::max_element(colours).key();
        if (std::ranges::none_of(colours.keys(), [&background](QRgb colour) {
                return Contrast::ratio(background, QColor(colour)) >= Contrast::kReadable;
            })) {
            faults += widget->objectName() + u": can't be read"_s;
        }
    }
    return faults;
}

} // namespace

// The windows of the agent in every language, filled with what makes it largest, with a small font
// and a large one, light and dark.
//
// With VANTORY_PICTURES=DIRECTORY it takes a picture of each.
class TestLooks : public QObject {
    Q_OBJECT

private:
    void status()
    {
        ConnectionStatus status(m_source);
        status.present();
        for (const bool isValid : {false, true}) {
            status.accountIsValid = isValid;
            status.config();
            look(isValid ? u"status-no-gateway"_s : u"status-account"_s, "ConnectionStatus");
        }
        status.hasUnseenActivity = true;
        status.setConnection({1, u"desk"_s, kShortName, sessionDateNow() - 65});
        status.config();
        status.inSession();
        look(u"status-one"_s, "ConnectionStatus");
        status.setConnection({2, u"desk"_s, kName, sessionDateNow() - 400'000});
        status.notEnded = {2};
        status.config();
        status.inSession2();
        look(u"status-two"_s, "ConnectionStatus");
    }

    void question()
    {
        UserAcknowledgement question(m_source);
        question.ask(1, u"gateway.halvern.example"_s, kShortName);
        question.ask(2, u"gateway-with-a-long-name.support.europe-west.halvern.example"_s,
                     kName + u' ' + kName);
        look(u"question"_s, "UserAcknowlegement");
    }

    void messages()
    {
        for (const qint64 kind : {0, 1, 2, 3, 4}) {
            MessageInbox message(m_source);
            message.set(kind % 2 == 0 ? kName + u", "_s + kName : kShortName,
                        u"The computer restarts at 18:00. Please save your work."_s,
                        kind == 0 ? 0 : 3600, kind);
            message.setNotShown(kind == 4 ? 12 : 0);
            message.present();
            look(u"message-%1"_s.arg(kind), "MessageInbox");
        }
    }

    void chat()
    {
        ChatController chat(m_source, false);
        chat.set(1, 1, kName);
        chat.presentBesideOthers(false);
        chat.joinedMember(kShortName);
        chat.receiveChat(kName, u"Good morning. May I have a look at the printer?"_s);
        chat.displayMessage(kShortName, u"Yes, please."_s, false, ChatColour::Text);
        look(u"chat"_s, "ChatController");
    }

    void settings()
    {
        SettingsWindow settings({.labels = *m_source()});
        for (const bool isManaged : {true, false}) {
            settings.showSettings(
                {isManaged, u"123456"_s, u"5d3ac8a4-7a34-4f0f-9d3c-6b0e4b7f9a11"_s, {}});
            for (const bool isLocked : {true, false}) {
                settings.setLocked(isLocked);
                settings.present();
                look(u"settings-%1-%2"_s.arg(isLocked ? u"locked" : u"unlocked",
                                             isManaged ? u"managed" : u"code"),
                     "window");
            }
        }
        SecurityAccess access(m_source);
        access.refresh();
        access.present(&settings);
        access.finishCheck(false);
        look(u"credentials"_s, "windowInfo");
    }

    void activity()
    {
        ActivityList list;
        const auto now = QDateTime::currentDateTimeUtc();
        for (const auto kind : {Activity::Kind::SessionNotEnded, Activity::Kind::RequestAccepted}) {
            list.put({.kind = kind, .time = now.addDays(-1), .name = kName});
        }
        list.put({.kind = Activity::Kind::Command,
                  .time = now,
                  .text = u"/usr/bin/systemctl restart cups.service && journalctl --unit cups"_s});
        ActivityWindow activity(m_source, list);
        activity.present();
        look(u"what-happened"_s, "ActivityWindow");
    }

    // The desktop turns dark and light again while a window is shown.
    void look(const QString& name, const char* windowName)
    {
        QWidget* const window = AgentFixture::topLevel(windowName);
        QVERIFY2(QTest::qWaitForWindowExposed(window), windowName);
        QTest::qWait(1); // what is laid out later
        QStringList found = faultsOfLayout(*window);
        for (const auto& [look, palette] : {std::pair("light"_L1, m_light), {"dark"_L1, m_dark}}) {
            QApplication::setPalette(palette);
            QTest::qWait(1);
            found += faultsOfColours(*window);
            const auto* const logo = window->findChild<QLabel*>(u"logo"_s);
            const auto ours =
                BundleImages::pixmap(u"image-"_s + look, {160, 36}, window->devicePixelRatioF())
                    .toImage();
            if (logo != nullptr && logo->pixmap().toImage() != ours) {
                found += look + u" logo"_s;
            }
            const QString pictures = qEnvironmentVariable("VANTORY_PICTURES");
            if (!pictures.isEmpty()) {
                QVERIFY(window->grab().save(u"%1/%2-%3-%4.png"_s.arg(
                    pictures, QLatin1StringView(QTest::currentDataTag()), look, name)));
            }
        }
        const QSize largest = window->screen()->size() - QSize(8, 80); // less panels and frames
        if (window->size() != window->size().boundedTo(largest)) {
            found += u"larger than a screen"_s;
        }
        QVERIFY2(found.isEmpty(), qPrintable(name + u": "_s + found.join(u", "_s)));
    }

    const QPalette m_light = QApplication::style()->standardPalette();
    QPalette m_dark = {QColor(49, 54, 59), QColor(42, 46, 50)};
    const AgentFixture m_files;
    LabelSource m_source;

private Q_SLOTS:
    void initTestCase()
    {
#ifdef __SANITIZE_THREAD__
        QSKIP("the toolkit scales large pictures in threads, whose locks the sanitizer can't see");
#endif
    }

    void aDisabledPictureFollowsThePalette()
    {
        const auto light = BundleImages::icon(u"abort"_s).pixmap(20, QIcon::Disabled).toImage();
        QApplication::setPalette(m_dark);
        QVERIFY(light != BundleImages::icon(u"abort"_s).pixmap(20, QIcon::Disabled).toImage());
    }

    void everyWindow_data()
    {
        QTest::addColumn<Language>("language");
        QTest::addColumn<int>("font");
        using enum Language;
        for (const Language language :
             {English, French, Italian, Spanish, German, Korean, Portuguese}) {
            for (const int font : {10, 16}) {
                QTest::addRow("%s-%d", qPrintable(languageCode(language)), font)
                    << language << font;
            }
        }
    }

    void everyWindow()
    {
        QFETCH(Language, language);
        QFETCH(int, font);
        QLoggingCategory::setFilterRules(u"default.warning=false"_s);     // of the offscreen screen
        qputenv("LANGUAGE", languageCode(language).toUtf8());             // of dates
        m_dark.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128)); // as some leave it
        QApplication::setFont(QFont(u"DejaVu Sans"_s, font));
        m_source = [language] { return labelsOf(language); };
        status();
        question();
        messages();
        chat();
        settings();
        activity();
    }
};

QTEST_MAIN(TestLooks)
#include "tst_looks.moc"
