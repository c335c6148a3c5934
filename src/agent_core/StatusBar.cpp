#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"
#include "logging/Logs.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/StatusItem.h"
#include "platform/files/MainBundle.h"
#include "platform/processes/ChildProcess.h"
#include "platform/threads/Worker.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Pictures.h"
#include "window_kit/WindowRules.h"
#include "windows/AboutController.h"
#include "windows/ConnectionStatus.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QProxyStyle>
#include <QStyle>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// The longest tool tip that panels show.
constexpr qsizetype kLongestToolTip = 250;
// Where the live line of the connections stands in the menu.
constexpr qsizetype kConnectionPosition = 2;

// In UTF-16 code units; a longer line is whole in its tool tip.
constexpr qsizetype kLongestItem = 120;

QIcon statusIcon(const QString& name)
{
    const QIcon icon = BundleImages::icon(name);
    return icon.isNull() ? QApplication::style()->standardIcon(QStyle::SP_ComputerIcon) : icon;
}

// The first that applies: not linked (where that may be shown), in session, linked.
QString iconName(bool isConnected, bool hasSessions)
{
    if (AppDelegate::options.disconnectedIconVisible && !isConnected) {
        return u"appIcon-22-disconnected"_s;
    }
    return hasSessions ? u"appIcon-22-session"_s : u"appIcon-22-connected"_s;
}

// The label, a colon, and who is in session. The blank before each comma is on purpose.
QString connectionTitle(const QString& label, const QList<SessionInfo>& sessions)
{
    QStringList names;
    for (const SessionInfo& session : sessions) {
        names.append(session.remoteControlUser);
    }
    return sessions.isEmpty() ? label : label + u": "_s + names.join(u" , "_s);
}

// Draws a menu's pictures as large as its letters ask for; styles have one size for all fonts.
class MenuStyle : public QProxyStyle {
public:
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option,
                                  const QWidget* widget) const override
    {
        const int pixels = QProxyStyle::pixelMetric(metric, option, widget);
        return metric == PM_SmallIconSize && widget != nullptr
                   ? Pictures::grown({pixels, pixels}, *widget).width()
                   : pixels;
    }
};

// Changes the item in place: a panel may have the menu open. It is told only of changes.
void updateItem(QAction* item, const QString& title, const QString& symbol)
{
    item->setText(Mnemonics::plain(ShownText::line(title, kLongestItem)));
    item->setToolTip(title.size() > kLongestItem ? ShownText::toolTip(title) : QString());
    const QIcon icon = BundleImages::icon(symbol);
    if (icon.cacheKey() != item->icon().cacheKey()) {
        item->setIcon(icon);
    }
}

void addItem(QMenu& menu, const QString& title, const QKeySequence& shortcut, const QString& symbol,
             std::function<void()> action)
{
    QAction* const item = menu.addAction(QString());
    updateItem(item, title, symbol);
    item->setShortcut(shortcut);
    item->setAutoRepeat(false);
    QObject::connect(item, &QAction::triggered, item, AppDelegate::whileRunning(std::move(action)));
}

// "vantory – Agent ready", in the words of the status window.
QString toolTip(const JsonData::Info& labels)
{
    const QList<SessionInfo>& sessions = AppDelegate::state().sessions.all();
    const bool isInvalid = AppDelegate::state().connectionStatus->accountIsValid == false;
    const QString linked = AppDelegate::state().gatewayConnectionStatus ? labels.Connection.ready
                           : isInvalid ? labels.Connection.account_invalid
                                       : labels.Connection.no_gateway;
    const QString words =
        sessions.isEmpty() ? linked : connectionTitle(labels.Connection.inSession, sessions);
    return AppDelegate::options.oemName + u" – "_s + words;
}

} // namespace

void AppDelegate::systemTray()
{
    // A package that is removed while the agent runs must not take away the sign of a session.
    for (const QString& kind : {u"disconnected"_s, u"session"_s, u"connected"_s}) {
        BundleImages::icon(u"appIcon-22-"_s + kind);
    }
    const JsonData::Info titles = labels().value_or(JsonData::Info());

    auto menu =
        std::make_unique<QMenu>(Mnemonics::plain(ShownText::line(options.oemName, kLongestItem)));
    menu->setToolTipsVisible(true);
    auto* const style = new MenuStyle;
    style->setParent(menu.get());
    menu->setStyle(style);
    addItem(*menu, titles.MainMenu.settings, Qt::CTRL | Qt::Key_S, u"wrench"_s,
            [this] { settings(); });
    addItem(*menu, titles.MainMenu.permissions, Qt::CTRL | Qt::Key_P, u"gear"_s,
            &AppDelegate::permissions);
    addItem(*menu, getConnectivityLabel(), {}, {}, &AppDelegate::connectionDisplay);
    menu->addSeparator();
    addItem(*menu, titles.About.about, {}, u"questionmark.circle"_s, &AppDelegate::about);
    WindowRules::setMenu(menu.get());
    state().statusBarItem = std::make_unique<StatusItem>(
        options.oemName, statusIcon(iconName(state().gatewayConnectionStatus, false)), *menu);
    state().statusBarMenu = std::move(menu);
    updateToolTip();
}

void AppDelegate::updateSystemTrayIcon()
{
    if (!state().statusBarItem) {
        return;
    }
    const QList<QAction*> items = state().statusBarMenu->actions();
    if (items.size() <= kConnectionPosition) {
        fatalState(u"The status bar's menu has lost its items"_s);
    }
    const QList<SessionInfo>& sessions = state().sessions.all();
    const QString icon = iconName(state().gatewayConnectionStatus, !sessions.isEmpty());
    if (std::exchange(state().statusBarIcon, icon) != icon) {
        state().statusBarItem->setIcon(statusIcon(icon));
    }
    const QString symbol = sessions.size() > 1 ? u"person.crop.circle.fill.badge.plus"_s
                                               : u"person.crop.circle.fill"_s;
    updateItem(items.at(kConnectionPosition), connectionTitle(getConnectivityLabel(), sessions),
               sessions.isEmpty() ? QString() : symbol);
    updateToolTip();
}

void AppDelegate::updateToolTip()
{
    if (!state().statusBarItem) {
        return;
    }
    const QString text =
        ShownText::line(toolTip(labels().value_or(englishFallback())), kLongestToolTip);
    if (std::exchange(state().statusBarToolTip, text) != text) {
        state().statusBarItem->setToolTip(text);
    }
}

QString AppDelegate::getConnectivityLabel()
{
    const auto known = labels();
    return known ? known->MainMenu.connection : u"Connection"_s;
}

void AppDelegate::cleanMainMenu()
{
    if (MainMenu) {
        MainMenu->clear();
    }
}

// The permissions application lies beside the agent's own folder.
void AppDelegate::permissions()
{
    const QString application =
        MainBundle::path().replace("vantoryAgent.app"_L1, "vantoryPermissions.app"_L1);
    const auto child = ChildProcess::start(application + u"/vantoryPermissions"_s, {});
    if (child.error) {
        printErrorLog(*child.error);
    } else {
        Worker::run([child] { ChildProcess::wait(child); });
    }
}

void AppDelegate::about()
{
    if (!state().aboutView) {
        state().aboutView = std::make_unique<AboutController>(&AppDelegate::labels);
    }
    state().aboutView->present();
}
