#include "command_line/DesktopFindings.h"

#include "platform/accounts/Account.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/DesktopFacts.h"
#include "platform/display/DisplayConnection.h"
#include "platform/files/FileFacts.h"
#include "platform/files/FilePaths.h"
#include "platform/files/RegularFile.h"
#include "platform/files/SessionLock.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

using Display = DesktopFacts::Display;

// What shows status icons, by the desktop's name in XDG_CURRENT_DESKTOP: a part of its panel, in
// the panel's own English words.
const struct {
    QLatin1StringView desktop;
    QLatin1StringView part;
} kPanelParts[] = {
    {"KDE"_L1, "System Tray"_L1},        {"XFCE"_L1, "Status Tray Plugin"_L1},
    {"MATE"_L1, "Notification Area"_L1}, {"X-Cinnamon"_L1, "System Tray"_L1},
    {"LXDE"_L1, "System Tray"_L1},       {"LXQt"_L1, "Status Notifier Plugin"_L1},
    {"Budgie"_L1, "System Tray"_L1},     {"Pantheon"_L1, "Ayatana Indicators"_L1},
};
// Window managers without a panel of their own.
const QLatin1StringView kBare[] = {"sway"_L1, "Hyprland"_L1, "river"_L1,  "wlroots"_L1,
                                   "niri"_L1, "i3"_L1,       "labwc"_L1,  "Wayfire"_L1,
                                   "dwl"_L1,  "bspwm"_L1,    "Openbox"_L1};

Finding panelFinding(const CommandTexts& texts, const QStringList& desktopNames)
{
    const auto isDesktop = [&](QLatin1StringView name) {
        return desktopNames.contains(name, Qt::CaseInsensitive);
    };
    for (const auto& [desktop, part] : kPanelParts) { // before GNOME, whose name some add
        if (isDesktop(desktop)) {
            return Finding::wrong(texts, "doctor.noPanelPart"_L1, {part, desktop});
        }
    }
    if (isDesktop("GNOME"_L1)) {
        return Finding::wrong(texts, "doctor.noPanelGnome"_L1,
                              {u"gnome-shell-extension-appindicator"_s});
    }
    for (const QLatin1StringView name : kBare) {
        if (isDesktop(name)) {
            return Finding::wrong(texts, "doctor.noPanelBar"_L1);
        }
    }
    return Finding::wrong(texts, "doctor.noPanel"_L1);
}

Findings displayFindings(const CommandTexts& texts, const DesktopFacts& facts)
{
    if (facts.display == Display::NotNamed) {
        return {Finding::wrong(texts, "doctor.noDisplay"_L1)};
    }
    if (facts.display == Display::Unreachable) {
        return {Finding::wrong(texts, "doctor.displayUnreachable"_L1, {facts.displayName})};
    }
    if (facts.display == Display::Unsupported) {
        return {Finding::wrong(texts, "doctor.noWaylandPart"_L1, {u"qt6-wayland"_s})};
    }
    return {};
}

// Without a session bus all else that needs one is missing too, and goes without saying.
Findings busFindings(const CommandTexts& texts, const DesktopFacts& facts)
{
    if (!facts.hasBus) {
        return {Finding::wrong(texts, "doctor.noBus"_L1, {u"dbus-user-session"_s})};
    }
    Findings findings;
    if (!facts.showsStatusIcons) {
        findings.append(panelFinding(texts, facts.desktopNames));
    }
    if (!facts.showsNotifications) {
        findings.append(Finding::wrong(texts, "doctor.noNotifications"_L1));
    }
    return findings;
}

Findings logindFindings(const CommandTexts& texts)
{
    switch (ConsoleSession::screen()) {
    case ConsoleSession::Screen::Unknown:
        return {Finding::wrong(texts, "doctor.noLogind"_L1)};
    case ConsoleSession::Screen::NoSession:
        return {Finding::wrong(texts, "doctor.noSession"_L1, {u"libpam-systemd"_s})};
    default:
        return {};
    }
}

// Whether a desktop leaves out what such a file starts (Desktop Entry Specification).
bool isSwitchedOff(const QString& desktopEntry)
{
    constexpr qsizetype kLargest = 64 * 1024;
    const QByteArray bytes = RegularFile::read(desktopEntry, kLargest).bytes;
    for (const QByteArray& line : bytes.split('\n')) {
        const qsizetype sign = line.indexOf('=');
        const QByteArray key = line.left(sign).trimmed();
        const QByteArray value = line.mid(sign + 1).trimmed();
        if ((key == "Hidden" && value == "true") ||
            (key == "X-GNOME-Autostart-enabled" && value == "false")) {
            return true;
        }
    }
    return false;
}

// Why no agent runs.
Findings autostartFindings(const CommandTexts& texts)
{
    const QString name = u"vantoryAgent.desktop"_s;
    const QString system = FilePaths::autostart(name);
    const QString own = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                        u"/autostart/"_s + name;
    if (isSwitchedOff(own)) {
        return {Finding::wrong(texts, "doctor.autostartOff"_L1, {own, u"rm "_s + own})};
    }
    const bool hasOwn = FileFacts::of(own).kind == FileFacts::Kind::Regular;
    if (!hasOwn && FileFacts::of(system).kind != FileFacts::Kind::Regular) {
        return {Finding::wrong(texts, "doctor.autostartMissing"_L1, {system})};
    }
    if (!hasOwn && isSwitchedOff(system)) { // where the service starts the agent
        return {Finding::known(texts, "doctor.autostartOffForAll"_L1, {system})};
    }
    if (Account::number() != 0 && !SessionLock::isTaken(DisplayConnection::keeperLock())) {
        return {Finding::wrong(texts, "doctor.keeperIsMissing"_L1)};
    }
    return {Finding::known(texts, "doctor.agentIsMissing"_L1)};
}

Findings agentFindings(const CommandTexts& texts, const DesktopFacts& facts)
{
    switch (RunningAgent::presence()) {
    case RunningAgent::Presence::None: // or it is known to a bus that does not answer
        return facts.hasBus ? autostartFindings(texts) : Findings();
    case RunningAgent::Presence::Answers:
        return {Finding::known(texts, "doctor.agentRuns"_L1)};
    case RunningAgent::Presence::Silent:
        return {Finding::wrong(texts, "doctor.agentIsSilent"_L1)};
    }
    return {};
}

} // namespace

Findings DesktopFindings::all(const CommandTexts& texts)
{
    const DesktopFacts facts = DesktopFacts::gather();
    const bool isDesktop = facts.display != Display::NotNamed && facts.isBusNamed;
    if (!isDesktop && Account::number() == 0) {
        return {Finding::known(texts, "doctor.noDesktop"_L1)};
    }
    Findings findings = displayFindings(texts, facts);
    if (facts.display != Display::NotNamed) {
        findings += busFindings(texts, facts) + logindFindings(texts) + agentFindings(texts, facts);
    }
    return findings;
}
