#include "agent_core/SettingsRules.h"

#include <algorithm>
#include <initializer_list>

#include <QStringView>

#include "service_link/Protocol.h"

using namespace Qt::StringLiterals;

namespace {

// A command that runs as root is the password on the input of a sudo that becomes the named
// account, and within it another one that becomes root. One's own name costs the first nothing, so
// that the second reads the password.
constexpr QStringView kPassword = u"/bin/echo \"";
constexpr QStringView kAccount = u"\" | /usr/bin/sudo -u \"";
constexpr QStringView kAsRoot = u"\" -S /usr/bin/sudo -S ";

// In one piece of memory, so that a wiped line leaves nothing behind.
QString joined(std::initializer_list<QStringView> pieces)
{
    qsizetype size = 0;
    for (const QStringView piece : pieces) {
        size += piece.size();
    }
    QString line;
    line.reserve(size);
    for (const QStringView piece : pieces) {
        line.append(piece);
    }
    return line;
}

} // namespace

bool SettingsRules::isAccountId(const QString& text)
{
    constexpr QStringView kForm = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    const auto isHexDigit = [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    };
    return std::equal(
        text.cbegin(), text.cend(), kForm.cbegin(), kForm.cend(),
        [&](QChar c, QChar form) { return form == u'-' ? c == u'-' : isHexDigit(c); });
}

bool SettingsRules::isSessionCode(const QString& text)
{
    return text.size() == 6 && Protocol::parseInteger32(text).has_value();
}

SettingsRules::Complaint SettingsRules::complaint(const BackendSettings& entries)
{
    if (entries.managed) {
        return isAccountId(entries.accountId) ? Complaint::None : Complaint::AccountId;
    }
    return isSessionCode(entries.sessionCode) ? Complaint::None : Complaint::SessionCode;
}

QString SettingsRules::propertyList(const BackendSettings& settings)
{
    const auto string = [](const QString& value) {
        return "    <string>"_L1 + value + "</string>\n"_L1;
    };
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n"
           "<dict>\n"
           "    <key>managed</key>\n"_L1 +
           QLatin1StringView(settings.managed ? "    <true/>\n" : "    <false/>\n") +
           "    <key>sessionCode</key>\n"_L1 + string(settings.sessionCode) +
           "    <key>accountID</key>\n"_L1 + string(settings.accountId) +
           "    <key>platform</key>\n"_L1 + string(settings.platform) +
           "</dict>\n"
           "</plist>"_L1;
}

QString SettingsRules::removeCommand(const Credentials& credentials, const QString& path)
{
    const auto& [user, password] = credentials;
    return joined({kPassword, password, kAccount, user, kAsRoot, u"/bin/rm \"", path, u"\""});
}

QString SettingsRules::writeCommand(const Credentials& credentials, const QString& text,
                                    const QString& path, const QString& chown)
{
    const auto& [user, password] = credentials;
    return joined({kPassword, password, kAccount, user, kAsRoot, u"/bin/echo \"", text, u"\" > ",
                   path, u" ; ", //
                   kPassword, password, kAccount, user, kAsRoot, chown, u" root ", u" ", path});
}
