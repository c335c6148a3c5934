#include "agent_core/AppDelegate.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QStyle>

#include "agent_core/StatusBarRules.h"
#include "logging/Logs.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/StatusItem.h"
#include "platform/files/MainBundle.h"
#include "platform/processes/ChildProcess.h"
#include "window_kit/ShownText.h"
#include "windows/ConnectionStatus.h"

using namespace Qt::StringLiterals;

namespace {

// The status bar shows no more of a text than this.
constexpr qsizetype kLongestToolTip = 250;
// Where the live line of the connections stands in the menu.
constexpr qsizetype kConnectionPosition = 2;

// What fits a menu of a sensible width; the whole is in the item's tool tip then.
constexpr qsizetype kLongestItem = 120;

QIcon statusIcon(const QString& name)
{
    const auto icon = BundleImages::icon(name);
    return icon ? *icon : QApplication::style()->standardIcon(QStyle::SP_ComputerIcon);
}

QString connectivityLabel(const std::optional<JsonData>& labels)
{
    return labels ? labels->info(AppDelegate::language).MainMenu.connection : u"Connection"_s;
}

// What an item shows; it may change while a panel has the menu open.
void dressItem(QAction* item, const QString& title, const QString& symbol)
{
    item->setText(ShownText::menuItem(title, kLongestItem));
    item->setToolTip(title.size() > kLongestItem ? ShownText::toolTip(title) : QString());
    item->setIcon(BundleImages::icon(symbol).value_or(QIcon()));
}

template <typename Action>
void addItem(QMenu& menu, const QString& title, const QKeySequence& shortcut, const QString& symbol,
             Action action)
{
    auto* const item = new QAction(&menu);
    dressItem(item, title, symbol);
    item->setShortcut(shortcut);
    QObject::connect(item, &QAction::triggered, item, action);
    menu.addAction(item);
}

} // namespace

void AppDelegate::systemTray()
{
    const auto labels = getLanguageLabel();
    const auto titles = labels ? labels->info(language) : JsonData::Info();

    m_statusItem = std::make_unique<StatusItem>(u"vantoryAgent"_s, oemName);
    statusBarItem = m_statusItem.get();
    statusBarItem->setIcon(statusIcon(
        StatusBarRules::iconName(disconnectedIconVisible, gatewayConnectionStatus, false)));

    m_menu = std::make_unique<QMenu>(ShownText::menuItem(oemName, kLongestItem));
    m_menu->setToolTipsVisible(true);
    statusBarMenu = m_menu.get();
    addItem(*m_menu, titles.MainMenu.settings, Qt::CTRL | Qt::Key_S, u"wrench"_s,
            [this] { settings(); });
    addItem(*m_menu, titles.MainMenu.permissions, Qt::CTRL | Qt::Key_P, u"gear"_s,
            &AppDelegate::permissions);
    addItem(*m_menu, connectivityLabel(labels), {}, {}, &AppDelegate::connectionDisplay);
    m_menu->addSeparator();
    addItem(*m_menu, titles.About.about, {}, u"questionmark.circle"_s, &AppDelegate::about);
    statusBarItem->setMenu(statusBarMenu);

    statusBarUpdate = &AppDelegate::showStatusInStatusBar;
}

void AppDelegate::showStatusInStatusBar()
{
    statusBarItem->setIcon(statusIcon(StatusBarRules::iconName(
        disconnectedIconVisible, gatewayConnectionStatus, !sessions.isEmpty())));

    const QList<QAction*> items = statusBarMenu->actions();
    if (items.size() <= kConnectionPosition) {
        fatalState(u"The status bar's menu has lost its items"_s);
    }
    const QString title = StatusBarRules::connectionTitle(getConnectivityLabel(), sessions);
    dressItem(items.at(kConnectionPosition), title,
              StatusBarRules::connectionSymbol(sessions.size()));
    statusBarItem->setToolTip(
        ShownText::line(sessions.isEmpty() ? oemName : title, kLongestToolTip));
}

QString AppDelegate::getConnectivityLabel()
{
    return connectivityLabel(getLanguageLabel());
}

void AppDelegate::cleanMainMenu()
{
    if (MainMenu) {
        MainMenu->clear();
    }
}

void AppDelegate::permissions_process()
{
    portUI = StatusBarRules::portArgument(QCoreApplication::arguments()).value_or(portUI);
    restart_daemon_at_close_only = true;
}

void AppDelegate::permissions()
{
    const QString application =
        MainBundle::path().replace("vantoryAgent.app"_L1, "vantoryPermissions.app"_L1);
    if (const auto error = ChildProcess::start(application + u"/vantoryPermissions"_s, {})) {
        printErrorLog(*error);
    }
}

void AppDelegate::connectionDisplay()
{
    if (isTerminating()) {
        return;
    }
    connectionStatus->refresh(true);
    connectionStatus->config();
    connectionStatus->present();
}
