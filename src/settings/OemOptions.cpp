#include "settings/OemOptions.h"

#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr struct {
    const char* name;
    int type;
    const char* wrongType; // the error for a value of another type
} kOptions[] = {
    {"oemName", QMetaType::QString, "is not a string"},
    {"oemCompany", QMetaType::QString, "is not a string"},
    {"disconnected_icon_visible", QMetaType::Bool, "is not a boolean"},
    {"allow_to_leave_chat", QMetaType::Bool, "is not a boolean"},
    {"show_connection_detail", QMetaType::Bool, "is not a boolean"},
    {"show_platform", QMetaType::Bool, "is not a boolean"},
    {"show_agent_type", QMetaType::Bool, "is not a boolean"},
    {"enable_change", QMetaType::Bool, "is not a boolean"},
    {"port", QMetaType::LongLong, "is not an integer"},
    {"service_accounts", QMetaType::QVariantList, "is not an array of strings"},
};

bool holdsTexts(const QVariantList& list)
{
    return std::all_of(list.cbegin(), list.cend(),
                       [](const QVariant& value) { return value.typeId() == QMetaType::QString; });
}

} // namespace

OemOptions OemOptions::read()
{
    OemOptions options;
    options.add(FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s));
    options.add(MainBundle::path() + u"/Resources/oem.plist"_s);
    return options;
}

// Adds the keys that are not there yet.
void OemOptions::add(const QString& file)
{
    if (!QFileInfo::exists(file)) {
        return;
    }
    const auto list = readPropertyList(file);
    if (!list) {
        m_warnings.append({file, QString(),
                           u"%1 cannot be read as a property list with a dictionary"_s.arg(file)});
        return;
    }
    for (const auto& [name, type, wrongType] : kOptions) {
        const QString key = QLatin1StringView(name);
        const auto value = list->constFind(key);
        if (value == list->cend()) {
            continue;
        }
        const char* error = nullptr;
        if (value->typeId() != type ||
            (type == QMetaType::QVariantList && !holdsTexts(value->toList()))) {
            error = wrongType;
        } else if (type == QMetaType::LongLong &&
                   (value->toLongLong() < 1 || !std::in_range<quint16>(value->toLongLong()))) {
            error = "is not a port from 1 to 65535";
        }
        if (error != nullptr) {
            m_warnings.append({file, key, u"%1: %2 %3"_s.arg(file, key, QLatin1StringView(error))});
        } else if (!m_values.contains(key)) {
            m_values.insert(key, *value);
        }
    }
}
