#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "settings/PortArgument.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

// Returns whether the option is there; else the target keeps its value.
bool readBoolean(const QString& key, bool& target)
{
    const auto value = AppDelegate::options.oem.boolean(key);
    target = value.value_or(target);
    return value.has_value();
}

} // namespace

void AppDelegate::readOemOptions()
{
    options.oem = OemOptions::read();
    for (const OemOptions::Complaint& complaint : options.oem.complaints()) {
        printErrorLog(complaint.text);
    }
}

void AppDelegate::getOemName(const QString& key, QString& target)
{
    target = options.oem.text(key).value_or(target);
}

void AppDelegate::getDisconnectedIconVisisble()
{
    readBoolean(u"disconnected_icon_visible"_s, options.disconnectedIconVisible);
}

void AppDelegate::getAllowToLeaveChat()
{
    readBoolean(u"allow_to_leave_chat"_s, options.allowToLeaveChat);
}

void AppDelegate::getShowConnectionDetail()
{
    readBoolean(u"show_connection_detail"_s, options.showConnectionDetail);
}

void AppDelegate::getDisplaySettings()
{
    // A chain on purpose: after a missing key the others keep their defaults.
    [[maybe_unused]] const bool all = readBoolean(u"show_platform"_s, options.displayPlatform) &&
                                      readBoolean(u"show_agent_type"_s, options.displayAgentType) &&
                                      readBoolean(u"enable_change"_s, options.displayChange);
}

void AppDelegate::getPortUI()
{
    options.portUI = options.oem.port().value_or(options.portUI);
}

void AppDelegate::permissions_process()
{
    options.portUI = PortArgument::of(QCoreApplication::arguments()).port.value_or(options.portUI);
    options.restart_daemon_at_close_only = true;
}
