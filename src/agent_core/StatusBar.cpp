#include "agent_core/StatusBarRules.h"
#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"
#include "logging/Logs.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/StatusItem.h"
#include "settings/PortArgument.h"
#include "window_kit/Pictures.h"
#include "window_kit/WindowRules.h"

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
    const auto icon = BundleImages::icon(name);
    return icon ? *icon : QApplication::style()->standardIcon(QStyle::SP_ComputerIcon);
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
    item->setAutoRepeat(false);
    QObject::connect(item, &QAction::triggered, item, action);
    menu.addAction(item);
    return item;
}

// A package that is removed while the agent runs must not take away the sign of a session.
void readStatusIcons()
{
    for (const bool isConnected : {false, true}) {
        for (const bool hasSessions : {false, true}) {
            statusIcon(StatusBarRules::iconName(AppDelegate::options.disconnectedIconVisible,
                                                isConnected, hasSessions));
        }
    }
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
    readStatusIcons();
    const auto known = labels();
    const JsonData::Info titles = known.value_or(JsonData::Info());

    m_statusItem = std::make_unique<StatusItem>(u"vantoryAgent"_s, options.oemName);
    m_statusItem->setIcon(statusIcon(StatusBarRules::iconName(
        options.disconnectedIconVisible, state().gatewayConnectionStatus, false)));

    m_menu = std::make_unique<QMenu>(ShownText::menuItem(options.oemName, kLongestItem));
    m_menu->setToolTipsVisible(true);
    auto* const style = new MenuStyle;
    style->setParent(m_menu.get());
    m_menu->setStyle(style);
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
    WindowRules::setMenu(m_menu.get());
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
    const QString icon = StatusBarRules::iconName(
        options.disconnectedIconVisible, state().gatewayConnectionStatus, !sessions.isEmpty());
    const QString line = StatusBarRules::connectionTitle(getConnectivityLabel(), sessions);
    const QString symbol = StatusBarRules::connectionSymbol(sessions.size());
    StatusBarLook& shown = state().statusBarLook;
    if (std::exchange(shown.icon, icon) != icon) {
        state().statusBarItem->setIcon(statusIcon(icon));
    }
    const bool isOtherLine = std::exchange(shown.connection, line) != line;
    if (std::exchange(shown.symbol, symbol) != symbol || isOtherLine) {
        updateItem(items.at(kConnectionPosition), line, symbol);
    }
    updateToolTip();
}

void AppDelegate::updateToolTip()
{
    if (state().statusBarItem == nullptr) {
        return;
    }
    const QString text =
        ShownText::line(toolTip(labels().value_or(englishFallback())), kLongestToolTip);
    if (std::exchange(state().statusBarLook.toolTip, text) != text) {
        state().statusBarItem->setToolTip(text);
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
    options.portUI = PortArgument::of(QCoreApplication::arguments()).port.value_or(options.portUI);
    options.restart_daemon_at_close_only = true;
}
