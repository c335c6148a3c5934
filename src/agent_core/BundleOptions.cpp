#include "agent_state/AppDelegate.h"
#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QVariant bundleOption(const QString& key)
{
    const auto path = MainBundle::resourcePath(u"oem"_s, u"plist"_s);
    const auto list = path ? PropertyList::readDictionary(*path) : std::nullopt;
    return list ? list->value(key) : QVariant();
}

// Returns whether the option is there as a boolean; else the target keeps its value.
bool readBoolean(const QString& key, bool& target)
{
    const QVariant value = bundleOption(key);
    if (value.typeId() != QMetaType::Bool) {
        return false;
    }
    target = value.toBool();
    return true;
}

} // namespace

void AppDelegate::getOemName(const QString& key, QString& target)
{
    const QVariant value = bundleOption(key);
    if (value.typeId() == QMetaType::QString) {
        target = value.toString();
    }
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
    const QVariant value = bundleOption(u"port"_s);
    if (value.typeId() != QMetaType::LongLong) {
        return;
    }
    const qlonglong port = value.toLongLong();
    if (port > 0 && port <= std::numeric_limits<quint16>::max()) {
        options.portUI = static_cast<quint16>(port);
    }
}
