#include "agent_core/AppDelegate.h"

#include <limits>

#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"

namespace {

QVariant option(const QString& key)
{
    const auto path = MainBundle::resourcePath(QStringLiteral("oem"), QStringLiteral("plist"));
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
    readBoolean(QStringLiteral("disconnected_icon_visible"), disconnectedIconVisible);
}

void AppDelegate::getAllowToLeaveChat()
{
    readBoolean(QStringLiteral("allow_to_leave_chat"), allowToLeaveChat);
}

void AppDelegate::getShowConnectionDetail()
{
    readBoolean(QStringLiteral("show_connection_detail"), showConnectionDetail);
}

void AppDelegate::getDisplaySettings()
{
    // A chain on purpose: an installer that leaves out a key leaves the rest at their defaults.
    [[maybe_unused]] const bool all =
        readBoolean(QStringLiteral("show_platform"), displayPlatform) &&
        readBoolean(QStringLiteral("show_agent_type"), displayAgentType) &&
        readBoolean(QStringLiteral("enable_change"), displayChange);
}

void AppDelegate::getPortUI()
{
    const QVariant value = option(QStringLiteral("port"));
    if (value.typeId() != QMetaType::LongLong) {
        return;
    }
    const qlonglong port = value.toLongLong();
    if (port > 0 && port <= std::numeric_limits<quint16>::max()) {
        portUI = static_cast<quint16>(port);
    }
}
