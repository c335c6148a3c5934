#include "agent_core/StatusBarRules.h"
#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/StatusItem.h"
#include "window_kit/ShownText.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
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
    const auto icon = BundleImages::icon(name);
    return icon ? *icon : QApplication::style()->standardIcon(QStyle::SP_ComputerIcon);
}

QString connectivityLabel(const std::optional<JsonData::Info>& labels)
{
    return labels ? labels->MainMenu.connection : u"Connection"_s;
}

// Changes the item in place: a panel may have the menu open.
void updateItem(QAction* item, const QString& title, const QString& symbol)
{
    item->setText(ShownText::menuItem(title, kLongestItem));
    item->setToolTip(title.size() > kLongestItem ? ShownText::toolTip(title) : QString());
    item->setIcon(BundleImages::icon(symbol).value_or(QIcon()));
}

template <typename Action>
QAction* addItem(QMenu& menu, const QString& title, const QKeySequence& shortcut,
                 const QString& symbol, Action action)
{
    auto* const item = new QAction(&menu);
    updateItem(item, title, symbol);
    item->setShortcut(shortcut);
    QObject::connect(item, &QAction::triggered, item, action);
    menu.addAction(item);
    return item;
}

// "vantory – Linked".
QString toolTip(const JsonData::Info& labels)
{
    const QList<SessionInfo>& sessions = AppDelegate::state().sessions.all();
    const QString linked = AppDelegate::state().gatewayConnectionStatus
                               ? labels.Connection.linked
                               : labels.Connection.notLinked;
    const QString words =
        sessions.isEmpty() ? linked
                           : StatusBarRules::connectionTitle(labels.Connection.inSession, sessions);
    return AppDelegate::options.oemName + u" – "_s + words;
}

} // namespace

void AppDelegate::systemTray()
{
    const auto known = labels();
    const JsonData::Info titles = known.value_or(JsonData::Info());

    m_statusItem = std::make_unique<StatusItem>(u"vantoryAgent"_s, options.oemName);
    m_statusItem->setIcon(statusIcon(StatusBarRules::iconName(
        options.disconnectedIconVisible, state().gatewayConnectionStatus, false)));

    m_menu = std::make_unique<QMenu>(ShownText::menuItem(options.oemName, kLongestItem));
    m_menu->setToolTipsVisible(true);
    addItem(*m_menu, titles.MainMenu.settings, Qt::CTRL | Qt::Key_S, u"wrench"_s,
            [this] { settings(); });
    addItem(*m_menu, titles.MainMenu.permissions, Qt::CTRL | Qt::Key_P, u"gear"_s,
            &AppDelegate::permissions);
    addItem(*m_menu, connectivityLabel(known), {}, {}, &AppDelegate::connectionDisplay);
    m_menu->addSeparator();
    addItem(*m_menu, titles.About.about, {}, u"questionmark.circle"_s, &AppDelegate::about);
    state().awayItem = addItem(*m_menu, known.value_or(englishFallback()).Activity.away, {},
                               u"activity"_s, &AppDelegate::showActivity);
    state().awayItem->setVisible(false);
    m_statusItem->setMenu(m_menu.get());
    state().statusBarItem = m_statusItem.get();
    state().statusBarMenu = m_menu.get();
}

void AppDelegate::updateSystemTrayIcon()
{
    if (state().statusBarItem == nullptr) {
        return;
    }
    const QList<QAction*> items = state().statusBarMenu->actions();
    if (items.size() <= kConnectionPosition) {
        fatalState(u"The status bar's menu has lost its items"_s);
    }
    const QList<SessionInfo>& sessions = state().sessions.all();
    const auto known = labels();
    const StatusBarLook look = {
        .icon = StatusBarRules::iconName(options.disconnectedIconVisible,
                                         state().gatewayConnectionStatus, !sessions.isEmpty()),
        .toolTip = ShownText::line(toolTip(known.value_or(englishFallback())), kLongestToolTip),
        .connection = StatusBarRules::connectionTitle(connectivityLabel(known), sessions),
        .symbol = StatusBarRules::connectionSymbol(sessions.size()),
    };
    const StatusBarLook before = std::exchange(state().statusBarLook, look);
    if (look.icon != before.icon) {
        state().statusBarItem->setIcon(statusIcon(look.icon));
    }
    if (look.connection != before.connection || look.symbol != before.symbol) {
        updateItem(items.at(kConnectionPosition), look.connection, look.symbol);
    }
    if (look.toolTip != before.toolTip) {
        state().statusBarItem->setToolTip(look.toolTip);
    }
}

QString AppDelegate::getConnectivityLabel()
{
    return connectivityLabel(labels());
}

void AppDelegate::cleanMainMenu()
{
    if (MainMenu) {
        MainMenu->clear();
    }
}

void AppDelegate::permissions_process()
{
    options.portUI =
        StatusBarRules::portArgument(QCoreApplication::arguments()).value_or(options.portUI);
    options.restart_daemon_at_close_only = true;
}
