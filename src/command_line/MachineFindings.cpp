#include "command_line/MachineFindings.h"

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
#include "settings/SettingsRules.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Kind = FileFacts::Kind;

constexpr qsizetype kLargestFile = 1024 * 1024;

const QString kEnrol = u"vantoryAgent --enrol"_s;

// A command for a remedy, as this account must type it.
QString asRoot(const QString& command)
{
    return Account::number() == 0 ? command : u"sudo "_s + command;
}

// "root:sudo 2775"
QString ownersAndMode(const QString& path, const FileFacts& facts)
{
    const QFileInfo info(path);
    return u"%1:%2 %3"_s.arg(info.owner(), info.group()).arg(facts.mode, 4, 8, QChar(u'0'));
}

// What is wrong with the folder, where it is not as wanted; `make` makes it so, be it there or not.
Findings folderFindings(const CommandTexts& texts, const QString& path, const FileFacts& facts,
                        bool isAsWanted, const QString& wanted, const QString& make)
{
    const QString command = asRoot(make + u' ' + path);
    if (facts.kind != Kind::Folder) {
        return {Finding::wrong(texts, "doctor.folderMissing"_L1, {path, command})};
    }
    if (!isAsWanted) {
        return {Finding::wrong(texts, "doctor.folderMode"_L1,
                               {path, ownersAndMode(path, facts), wanted, command})};
    }
    return {};
}

// What keeps this account from reading a file that is there.
Findings readFindings(const CommandTexts& texts, const QString& path, const FileFacts& facts)
{
    if (facts.kind != Kind::Regular || facts.hasOtherNames) {
        return {Finding::wrong(texts, "doctor.notOrdinary"_L1, {path, asRoot(u"rm -r "_s + path)})};
    }
    if (!facts.isReadable) {
        return {
            Finding::wrong(texts, "doctor.unreadable"_L1, {path, asRoot(u"chmod a+r "_s + path)})};
    }
    return {};
}

bool isThere(const FileFacts& facts)
{
    return facts.kind != Kind::Missing && facts.kind != Kind::Hidden;
}

Findings preferencesFindings(const CommandTexts& texts)
{
    const QString path = FilePaths::preferences(QString());
    const FileFacts facts = FileFacts::of(path);
    const auto administrators =
        LocalAccounts::administrators().value_or(LocalAccounts::Group{0, u"root"_s});
    const bool isForAdministrators =
        QStringList{u"admin"_s, u"sudo"_s, u"wheel"_s}.contains(QFileInfo(path).group()) &&
        facts.mode == 02775;
    // The choice of those who let nobody enrol in the window.
    const bool isForRoot = facts.group == 0 && facts.mode == 0755;
    return folderFindings(texts, path, facts,
                          facts.owner == 0 && (isForAdministrators || isForRoot),
                          u"root:%1 2775"_s.arg(administrators.name),
                          u"install -d -o root -g %1 -m 2775"_s.arg(administrators.name));
}

// The keys of the settings file that the agent can't use, or would take for something else.
QStringList wrongKeys(const QVariantMap& dictionary, const QString& path)
{
    QStringList keys;
    const auto add = [&](const QString& key, QMetaType::Type type, bool mayBeMissing) {
        const auto value = dictionary.constFind(key);
        const bool isMissing = value == dictionary.cend();
        if (isMissing ? !mayBeMissing : value->typeId() != type) {
            keys.append(key);
        }
    };
    add(u"managed"_s, QMetaType::Bool, true);
    add(u"sessionCode"_s, QMetaType::QString, true);
    add(u"accountID"_s, QMetaType::QString, false);
    add(u"platform"_s, QMetaType::QString, false);
    if (!keys.isEmpty()) {
        return keys;
    }
    if (!QStringList{QString(), u"production"_s, u"staging"_s, u"testing"_s}.contains(
            dictionary.value(u"platform"_s).toString())) {
        keys.append(u"platform"_s);
    }
    using Complaint = SettingsRules::Complaint;
    const auto settings = readBackendSettings(path).settings.value_or(BackendSettings());
    switch (SettingsRules::complaint(settings)) {
    case Complaint::None:
        break;
    case Complaint::AccountId:
        keys.append(u"accountID"_s);
        break;
    case Complaint::SessionCode:
        keys.append(u"sessionCode"_s);
        break;
    }
    return keys;
}

Findings settingsFindings(const CommandTexts& texts)
{
    const QString path = backendSettingsPath();
    const FileFacts facts = FileFacts::of(path);
    if (facts.kind == Kind::Hidden) {
        return {}; // the folder is at fault
    }
    if (facts.kind == Kind::Missing) {
        return {Finding::wrong(texts, "doctor.notEnrolled"_L1, {asRoot(kEnrol)})};
    }
    Findings findings = readFindings(texts, path, facts);
    if (!findings.isEmpty()) {
        return findings;
    }
    constexpr unsigned int kWritableForOthers = 022;
    if (facts.owner != 0 || (facts.mode & kWritableForOthers) != 0) {
        findings.append(Finding::wrong(texts, "doctor.settingsOwner"_L1,
                                       {path, ownersAndMode(path, facts), asRoot(kEnrol)}));
    }
    const auto dictionary = PropertyList::readDictionary(path);
    if (!dictionary) {
        findings.append(Finding::wrong(texts, "doctor.settingsDamaged"_L1, {path, asRoot(kEnrol)}));
        return findings;
    }
    for (const QString& key : wrongKeys(*dictionary, path)) {
        findings.append(
            Finding::wrong(texts, "doctor.settingsKey"_L1, {key, path, asRoot(kEnrol)}));
    }
    return findings;
}

Findings allowedFindings(const CommandTexts& texts)
{
    const QString path = allowedSettingsPath();
    const FileFacts facts = FileFacts::of(path);
    Findings findings = isThere(facts) ? readFindings(texts, path, facts) : Findings();
    if (isThere(facts) && findings.isEmpty() &&
        !allowedSettingsFrom(RegularFile::read(path, kLargestFile).bytes)) {
        findings.append(Finding::wrong(texts, "doctor.allowedDamaged"_L1, {path}));
    }
    return findings;
}

} // namespace

Findings MachineFindings::installation(const CommandTexts& texts)
{
    Findings findings;
    if (!texts.isWhole()) { // then the other lines have only their keys
        findings.append(
            {u"%1/Resources/commands.json is missing or damaged: install the agent again"_s.arg(
                MainBundle::path())});
    }
    const auto check = [&](bool isWhole, const QString& name) {
        if (!isWhole) {
            findings.append(
                Finding::wrong(texts, "doctor.resource"_L1, {MainBundle::path() + u'/' + name}));
        }
    };
    const QStringList needed = {u"CFBundleName"_s, u"CFBundleShortVersionString"_s,
                                u"CFBundleVersion"_s};
    check(std::all_of(needed.cbegin(), needed.cend(),
                      [](const QString& key) {
                          return MainBundle::infoValue(key).typeId() == QMetaType::QString;
                      }),
          u"Info.plist"_s);
    check(isLanguageDocumentWhole(), u"Resources/translate.json"_s);
    const OemOptions options = OemOptions::read();
    for (const auto& complaint : options.complaints()) {
        findings.append(
            complaint.key.isEmpty()
                ? Finding::wrong(texts, "doctor.options"_L1, {complaint.file})
                : Finding::wrong(texts, "doctor.option"_L1, {complaint.key, complaint.file}));
    }
    return findings;
}

Findings MachineFindings::enrolment(const CommandTexts& texts)
{
    return preferencesFindings(texts) + settingsFindings(texts) + allowedFindings(texts);
}

Findings MachineFindings::logs(const CommandTexts& texts)
{
    const QString folder = FilePaths::applicationSupport(u"Halvern/vantoryAgent/logs"_s);
    const FileFacts facts = FileFacts::of(folder);
    Findings findings = folderFindings(texts, folder, facts, facts.mode == 01777, u"1777"_s,
                                       u"install -d -m 1777"_s);
    if (findings.isEmpty() && !facts.isWritable) {
        const QString mount = asRoot(u"mount -o remount,rw "_s + QStorageInfo(folder).rootPath());
        findings.append(Finding::wrong(texts, "doctor.notWritable"_L1, {folder, mount}));
    }
    for (const QString& name : {u"/vantoryAgent.stdout"_s, u"/vantoryAgent.stderr"_s}) {
        const QString path = folder + name;
        const FileFacts file = FileFacts::of(path);
        if (isThere(file) &&
            (file.kind != Kind::Regular || file.hasOtherNames || (file.mode & 0666) != 0666)) {
            findings.append(
                Finding::wrong(texts, "doctor.notALog"_L1,
                               {path, asRoot(u"mv %1 %1.old; "_s.arg(path)) +
                                          asRoot(u"install -m 666 /dev/null "_s + path)}));
        }
    }
    return findings;
}

Findings MachineFindings::service(const CommandTexts& texts, const QStringList& arguments)
{
    const OemOptions options = OemOptions::read();
    const ServiceAccounts accounts(options);
    const quint16 port = servicePort(arguments, options);
    Findings findings;
    const QString invalid = PortArgument::of(arguments).invalid;
    if (!invalid.isEmpty()) {
        findings.append(Finding::wrong(texts, "usage.badPort"_L1, {invalid}));
    }
    for (const QString& name : accounts.unknown()) {
        findings.append(Finding::wrong(texts, "doctor.unknownAccount"_L1, {name}));
    }
    const auto owners = SocketOwners::listenersAt(port);
    const QString number = QString::number(port);
    if (!owners) {
        findings.append(
            Finding::wrong(texts, "doctor.unknownOwner"_L1, {asRoot(u"modprobe tcp_diag"_s)}));
    } else if (owners->isEmpty()) {
        findings.append(Finding::wrong(texts, "doctor.nobodyListens"_L1, {number}));
    }
    for (const quint32 owner : owners.value_or(QList<quint32>())) {
        if (!accounts.contain(owner)) {
            findings.append(
                Finding::wrong(texts, "doctor.untrusted"_L1, {Account::loginName(owner), number}));
        }
    }
    return findings;
}
