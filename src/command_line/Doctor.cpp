#include "command_line/Doctor.h"

#include "command_line/Invocation.h"
#include "localisation/Translate.h"
#include "platform/accounts/Account.h"
#include "platform/accounts/LocalAccounts.h"
#include "platform/files/FileFacts.h"
#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "platform/files/PropertyList.h"
#include "platform/files/RegularFile.h"
#include "platform/network/SocketOwners.h"
#include "settings/AllowedSettings.h"
#include "settings/OemOptions.h"
#include "settings/ServiceAccounts.h"
#include "settings/ServicePort.h"
#include "settings/SettingsFile.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>

using namespace Qt::StringLiterals;

namespace {

using Kind = FileFacts::Kind;

// A command for a remedy, as this account must type it.
QString asRoot(const QString& command)
{
    return Account::uid() == 0 ? command : u"sudo "_s + command;
}

QString asRoot(const QString& start, const QString& path)
{
    return asRoot(Doctor::command(start, path));
}

QString enrol()
{
    return asRoot(u"vantoryAgent --enrol"_s);
}

// "root:sudo 2775"
QString ownersAndMode(const QString& path, const FileFacts& facts)
{
    const QFileInfo info(path);
    return u"%1:%2 %3"_s.arg(info.owner(), info.group()).arg(facts.mode, 4, 8, QChar(u'0'));
}

// Whether the folder is as wanted; the command `make` makes it so, also if it is missing.
bool checkFolder(Doctor& doctor, const QString& path, const FileFacts& facts, bool isAsWanted,
                 const QString& wanted, const QString& make)
{
    const QString command = asRoot(make, path);
    if (facts.kind != Kind::Folder) {
        doctor.warn("doctor.folderMissing"_L1, {path, command});
    } else if (!isAsWanted) {
        doctor.warn("doctor.folderMode"_L1, {path, ownersAndMode(path, facts), wanted, command});
    }
    return facts.kind == Kind::Folder && isAsWanted;
}

// Whether this account can read a file that is there.
bool checkReadable(Doctor& doctor, const QString& path, const FileFacts& facts)
{
    const bool isOrdinary = facts.kind == Kind::Regular && !facts.hasOtherNames;
    if (!isOrdinary) {
        doctor.warn("doctor.notOrdinary"_L1, {path, asRoot(u"rm -r"_s, path)});
    } else if (!facts.isReadable) {
        doctor.warn("doctor.unreadable"_L1, {path, asRoot(u"chmod a+r"_s, path)});
    }
    return isOrdinary && facts.isReadable;
}

void checkPreferences(Doctor& doctor)
{
    const QString path = FilePaths::library(u"Preferences/vantoryAgent"_s);
    const FileFacts facts = FileFacts::of(path);
    const auto administrators =
        LocalAccounts::administrators().value_or(LocalAccounts::Group{0, u"root"_s});
    const bool isForAdministrators =
        QStringList{u"admin"_s, u"sudo"_s, u"wheel"_s}.contains(QFileInfo(path).group()) &&
        facts.mode == 02775;
    // Chosen where nobody may enrol in the window.
    const bool isForRoot = facts.group == 0 && facts.mode == 0755;
    checkFolder(doctor, path, facts, facts.owner == 0 && (isForAdministrators || isForRoot),
                u"root:%1 2775"_s.arg(administrators.name),
                u"install -d -o root -g %1 -m 2775"_s.arg(administrators.name));
}

// The keys of the settings file that the agent can't use, or would take for something else.
QStringList wrongKeys(const QVariantMap& dictionary, const QString& path)
{
    QStringList keys;
    const auto check = [&](const QString& key, QMetaType::Type type, bool mayBeMissing) {
        const QVariant value = dictionary.value(key);
        if (value.isValid() ? value.typeId() != type : !mayBeMissing) {
            keys.append(key);
        }
    };
    check(u"managed"_s, QMetaType::Bool, true);
    check(u"sessionCode"_s, QMetaType::QString, true);
    check(u"accountID"_s, QMetaType::QString, false);
    check(u"platform"_s, QMetaType::QString, false);
    if (!keys.isEmpty()) {
        return keys;
    }
    if (!QStringList{QString(), u"production"_s, u"staging"_s, u"testing"_s}.contains(
            dictionary.value(u"platform"_s).toString())) {
        keys.append(u"platform"_s);
    }
    const auto settings = readBackendSettings(path).settings.value_or(BackendSettings());
    if (const auto invalid = settings.invalidEntry()) {
        const bool isAccount = invalid == BackendSettings::Entry::AccountId;
        keys.append(isAccount ? u"accountID"_s : u"sessionCode"_s);
    }
    return keys;
}

void checkSettings(Doctor& doctor)
{
    const QString path = backendSettingsPath();
    const FileFacts facts = FileFacts::of(path);
    if (facts.kind == Kind::Missing) { // if it is hidden, the folder is the problem
        doctor.warn("doctor.notEnrolled"_L1, {enrol()});
    }
    if (!facts.isThere() || !checkReadable(doctor, path, facts)) {
        return;
    }
    constexpr unsigned int kWritableForOthers = 022;
    if (facts.owner != 0 || (facts.mode & kWritableForOthers) != 0) {
        doctor.warn("doctor.settingsOwner"_L1, {path, ownersAndMode(path, facts), enrol()});
    }
    const auto dictionary = readPropertyList(path);
    if (!dictionary) {
        doctor.warn("doctor.settingsDamaged"_L1, {path, enrol()});
        return;
    }
    for (const QString& key : wrongKeys(*dictionary, path)) {
        doctor.warn("doctor.settingsKey"_L1, {key, path, enrol()});
    }
}

void checkAllowedSettings(Doctor& doctor)
{
    const QString path = allowedSettingsPath();
    const FileFacts facts = FileFacts::of(path);
    if (facts.isThere() && checkReadable(doctor, path, facts) &&
        !allowedSettingsFrom(RegularFile::read(path).bytes)) {
        doctor.warn("doctor.allowedDamaged"_L1, {path});
    }
}

void checkLogs(Doctor& doctor)
{
    const QString folder = FilePaths::applicationSupport(u"Halvern/vantoryAgent/logs"_s);
    const FileFacts facts = FileFacts::of(folder);
    if (checkFolder(doctor, folder, facts, facts.mode == 01777, u"1777"_s,
                    u"install -d -m 1777"_s) &&
        !facts.isWritable) {
        const QString mount = asRoot(u"mount -o remount,rw"_s, QStorageInfo(folder).rootPath());
        doctor.warn("doctor.notWritable"_L1, {folder, mount});
    }
    for (const QString& name : {u"/vantoryAgent.stdout"_s, u"/vantoryAgent.stderr"_s}) {
        const QString path = folder + name;
        const FileFacts file = FileFacts::of(path);
        if (file.isThere() &&
            (file.kind != Kind::Regular || file.hasOtherNames || (file.mode & 0666) != 0666)) {
            // -T: another account may have made a link to a directory there.
            doctor.warn("doctor.notALog"_L1,
                        {path, asRoot(Doctor::command(u"mv -T"_s, path), path + u".old"_s) +
                                   u"; "_s + asRoot(u"install -T -m 666 /dev/null"_s, path)});
        }
    }
}

// Who listens at the service's port.
void checkService(Doctor& doctor, const QStringList& arguments, const OemOptions& options)
{
    const QString invalid = PortArgument::of(arguments).invalid;
    if (!invalid.isEmpty()) {
        doctor.warn("usage.badPort"_L1, {invalid});
    }
    const ServiceAccounts accounts(options);
    for (const QString& name : accounts.unknown()) {
        doctor.warn("doctor.unknownAccount"_L1, {name});
    }
    const quint16 port = servicePort(arguments, options);
    const auto owners = SocketOwners::listenersAt(port);
    if (!owners) {
        doctor.warn("doctor.unknownOwner"_L1, {asRoot(u"modprobe tcp_diag"_s)});
        return;
    }
    if (owners->isEmpty()) {
        doctor.warn("doctor.nobodyListens"_L1, {QString::number(port)});
    }
    for (const quint32 owner : *owners) {
        if (!accounts.contain(owner)) {
            doctor.warn("doctor.untrusted"_L1, {Account::loginName(owner), QString::number(port)});
        }
    }
}

// The application folder, and the options of those who ship and deploy the program.
void checkInstallation(Doctor& doctor, const OemOptions& options)
{
    if (!MainBundle::infoText(u"CFBundleName"_s) ||
        !MainBundle::infoText(u"CFBundleShortVersionString"_s) ||
        !MainBundle::infoText(u"CFBundleVersion"_s)) {
        doctor.warn("doctor.resource"_L1, {MainBundle::path() + u"/Info.plist"_s});
    }
    if (!isLanguageDocumentWhole()) {
        doctor.warn("doctor.resource"_L1, {MainBundle::path() + u"/Resources/translate.json"_s});
    }
    for (const auto& warning : options.warnings()) {
        if (warning.key.isEmpty()) {
            doctor.warn("doctor.options"_L1, {warning.file});
        } else {
            doctor.warn("doctor.option"_L1, {warning.key, warning.file});
        }
    }
}

} // namespace

int Doctor::examine(const Terminal& terminal, const Invocation& invocation)
{
    Doctor doctor{terminal};
    if (!terminal.hasTexts()) { // then the other lines have only their keys
        doctor.isFine = false;
        Terminal::print(
            u"%1/Resources/commands.json is missing or damaged: install the agent again"_s.arg(
                MainBundle::path()));
    }
    const OemOptions options = OemOptions::read();
    checkInstallation(doctor, options);
    checkPreferences(doctor);
    checkSettings(doctor);
    checkAllowedSettings(doctor);
    checkLogs(doctor);
    checkService(doctor, invocation.arguments, options);
    doctor.examineDesktop();
    return doctor.isFine ? terminal.say("doctor.fine"_L1) : Terminal::Failed;
}

QString Doctor::command(const QString& start, QString path)
{
    static const QRegularExpression kPlain(u"\\A[\\w/.:+@%=,-]+\\z"_s);
    if (!path.contains(kPlain)) {
        path = u'\'' + path.replace(u'\'', "'\"'\"'"_L1) + u'\'';
    }
    return start + u' ' + path;
}

void Doctor::warn(QLatin1StringView key, const QStringList& values)
{
    isFine = false;
    terminal.say(key, values);
}
