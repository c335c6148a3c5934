#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"

using namespace Qt::StringLiterals;

namespace {

// Returns whether the option is there; else the target keeps its value.
template <typename Type>
bool read(const QString& key, Type& target)
{
    const auto value = AppDelegate::options.oem.value<Type>(key);
    target = value.value_or(target);
    return value.has_value();
}

} // namespace

void AppDelegate::readOemOptions()
{
    options.oem = OemOptions::read();
    for (const OemOptions::Warning& warning : options.oem.warnings()) {
        printErrorLog(warning.text);
    }
}

void AppDelegate::getOemName(const QString& key, QString& target)
{
    read(key, target);
}

void AppDelegate::getDisconnectedIconVisisble()
{
    read(u"disconnected_icon_visible"_s, options.disconnectedIconVisible);
}

void AppDelegate::getAllowToLeaveChat()
{
    read(u"allow_to_leave_chat"_s, options.allowToLeaveChat);
}

void AppDelegate::getShowConnectionDetail()
{
    read(u"show_connection_detail"_s, options.showConnectionDetail);
}

void AppDelegate::getDisplaySettings()
{
    // A chain on purpose: after a missing key the others keep their defaults.
    [[maybe_unused]] const bool all = read(u"show_platform"_s, options.displayPlatform) &&
                                      read(u"show_agent_type"_s, options.displayAgentType) &&
                                      read(u"enable_change"_s, options.displayChange);
}

void AppDelegate::getPortUI()
{
    read(u"port"_s, options.portUI);
}

void AppDelegate::permissions_process()
{
    options.portUI = PortArgument::of(options.arguments).port.value_or(options.portUI);
    options.restart_daemon_at_close_only = true;
}
