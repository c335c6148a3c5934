#include "settings/OemOptions.h"

#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

enum class Kind { Text, Boolean, Port, Names };

constexpr struct {
    const char* name;
    Kind kind;
} kKeys[] = {
    {"oemName", Kind::Text},
    {"oemCompany", Kind::Text},
    {"disconnected_icon_visible", Kind::Boolean},
    {"allow_to_leave_chat", Kind::Boolean},
    {"show_connection_detail", Kind::Boolean},
    {"show_platform", Kind::Boolean},
    {"show_agent_type", Kind::Boolean},
    {"enable_change", Kind::Boolean},
    {"port", Kind::Port},
    {"service_accounts", Kind::Names},
};

// What is wrong with a value; null where nothing is.
const char* fault(const QVariant& value, Kind kind)
{
    switch (kind) {
    case Kind::Text:
        return value.typeId() == QMetaType::QString ? nullptr : "is not a string";
    case Kind::Boolean:
        return value.typeId() == QMetaType::Bool ? nullptr : "is not a boolean";
    case Kind::Names: {
        const QVariantList names = value.toList();
        return value.typeId() == QMetaType::QVariantList &&
                       std::all_of(
                           names.cbegin(), names.cend(),
                           [](const QVariant& name) { return name.typeId() == QMetaType::QString; })
                   ? nullptr
                   : "is not an array of strings";
    }
    case Kind::Port:
        if (value.typeId() != QMetaType::LongLong) {
            return "is not an integer";
        }
        const qlonglong number = value.toLongLong();
        return number >= 1 && number <= std::numeric_limits<quint16>::max()
                   ? nullptr
                   : "is not a port from 1 to 65535";
    }
    return nullptr;
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
    const auto list = PropertyList::readDictionary(file);
    if (!list) {
        m_complaints.append(
            {file, QString(),
             u"%1 cannot be read as a property list with a dictionary"_s.arg(file)});
        return;
    }
    for (const auto& [name, kind] : kKeys) {
        const QString key = QLatin1StringView(name);
        const auto value = list->constFind(key);
        if (value == list->cend()) {
            continue;
        }
        if (const char* const wrong = fault(*value, kind)) {
            m_complaints.append(
                {file, key, u"%1: %2 %3"_s.arg(file, key, QLatin1StringView(wrong))});
        } else if (!m_values.contains(key)) {
            m_values.insert(key, *value);
        }
    }
}

std::optional<QString> OemOptions::text(const QString& key) const
{
    const auto value = m_values.constFind(key);
    return value != m_values.cend() ? std::optional(value->toString()) : std::nullopt;
}

std::optional<bool> OemOptions::boolean(const QString& key) const
{
    const auto value = m_values.constFind(key);
    return value != m_values.cend() ? std::optional(value->toBool()) : std::nullopt;
}

std::optional<quint16> OemOptions::port() const
{
    const auto value = m_values.constFind(u"port"_s);
    return value != m_values.cend() ? std::optional(static_cast<quint16>(value->toUInt()))
                                    : std::nullopt;
}

QStringList OemOptions::serviceAccounts() const
{
    return m_values.value(u"service_accounts"_s).toStringList();
}
