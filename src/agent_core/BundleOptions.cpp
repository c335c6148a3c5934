#include "agent_core/AppDelegate.h"

#include <limits>

#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"

using namespace Qt::StringLiterals;

namespace {

QVariant option(const QString& key)
{
    const auto path = MainBundle::resourcePath(u"oem"_s, u"plist"_s);
    const auto options = path ? PropertyList::readDictionary(*path) : std::nullopt;
    return options ? options->value(key) : QVariant();
}

// Whether the option is there as a boolean; the target keeps its value where not.
bool readBoolean(const QString& key, bool& target)
{
    const QVariant value = option(key);
    if (value.typeId() != QMetaType::Bool) {
        return false;
    }
    target = value.toBool();
    return true;
}

} // namespace

void AppDelegate::getOemName(const QString& key, QString& target)
{
    const QVariant value = option(key);
    if (value.typeId() == QMetaType::QString) {
        target = value.toString();
    }
}

void AppDelegate::getDisconnectedIconVisisble()
{
    readBoolean(u"disconnected_icon_visible"_s, disconnectedIconVisible);
}

void AppDelegate::getAllowToLeaveChat()
{
    readBoolean(u"allow_to_leave_chat"_s, allowToLeaveChat);
}

void AppDelegate::getShowConnectionDetail()
{
    readBoolean(u"show_connection_detail"_s, showConnectionDetail);
}

void AppDelegate::getDisplaySettings()
{
    // A chain on purpose: an installer that leaves out a key leaves the rest at their defaults.
    [[maybe_unused]] const bool all = readBoolean(u"show_platform"_s, displayPlatform) &&
                                      readBoolean(u"show_agent_type"_s, displayAgentType) &&
                                      readBoolean(u"enable_change"_s, displayChange);
}

void AppDelegate::getPortUI()
{
    const QVariant value = option(u"port"_s);
    if (value.typeId() != QMetaType::LongLong) {
        return;
    }
    const qlonglong port = value.toLongLong();
    if (port > 0 && port <= std::numeric_limits<quint16>::max()) {
        portUI = static_cast<quint16>(port);
    }
}
