#include "command_line/Doctor.h"

#include "platform/accounts/Account.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/DesktopFacts.h"
#include "platform/display/DisplayConnection.h"
#include "platform/files/FileFacts.h"
#include "platform/files/FilePaths.h"
#include "platform/files/RegularFile.h"
#include "platform/files/SessionLock.h"

#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>

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

void warnOfPanel(Doctor& doctor, const QStringList& desktopNames)
{
    const auto isDesktop = [&](QLatin1StringView name) {
        return desktopNames.contains(name, Qt::CaseInsensitive);
    };
    for (const auto& [desktop, part] : kPanelParts) { // before GNOME, whose name some add
        if (isDesktop(desktop)) {
            doctor.warn("doctor.noPanelPart"_L1, {part, desktop});
            return;
        }
    }
    if (isDesktop("GNOME"_L1)) {
        doctor.warn("doctor.noPanelGnome"_L1, {u"gnome-shell-extension-appindicator"_s});
    } else if (std::ranges::any_of(kBare, isDesktop)) {
        doctor.warn("doctor.noPanelBar"_L1);
    } else {
        doctor.warn("doctor.noPanel"_L1);
    }
}

void checkDisplay(Doctor& doctor, const DesktopFacts& facts)
{
    if (facts.display == Display::NotNamed) {
        doctor.warn("doctor.noDisplay"_L1);
    } else if (facts.display == Display::Unreachable) {
        doctor.warn("doctor.displayUnreachable"_L1, {facts.displayName});
    } else if (facts.display == Display::Unsupported) {
        doctor.warn("doctor.noWaylandPart"_L1, {u"qt6-wayland"_s});
    }
}

// Without a session bus all that needs one is missing too, and is not reported.
void checkBus(Doctor& doctor, const DesktopFacts& facts)
{
    if (!facts.hasBus) {
        doctor.warn("doctor.noBus"_L1, {u"dbus-user-session"_s});
        return;
    }
    if (!facts.showsStatusIcons) {
        warnOfPanel(doctor, facts.desktopNames);
    }
    if (!facts.showsNotifications) {
        doctor.warn("doctor.noNotifications"_L1);
    }
}

void checkLogind(Doctor& doctor, const DesktopFacts& facts)
{
    const auto screen = ConsoleSession::screen();
    if (screen == ConsoleSession::Screen::Unknown) {
        doctor.warn("doctor.noLogind"_L1);
    } else if (screen == ConsoleSession::Screen::NoSession) {
        doctor.warn("doctor.noSession"_L1, {u"libpam-systemd"_s});
    } else if (facts.desktopNames.contains("XFCE"_L1) &&
               screen ==
                   ConsoleSession::Screen::Unlocked) { // its lockers don't call SetLockedHint()
        doctor.warn("doctor.noLockedHint"_L1, {u"XFCE"_s, u"xss-lock"_s});
    }
}

// Whether a desktop leaves out what such a file starts (Desktop Entry Specification).
bool isSwitchedOff(const QString& desktopEntry)
{
    static const QRegularExpression kOff(
        u"^\\s*(Hidden\\s*=\\s*true|X-GNOME-Autostart-enabled\\s*=\\s*false)\\s*$"_s,
        QRegularExpression::MultilineOption);
    return QString::fromUtf8(RegularFile::read(desktopEntry).bytes).contains(kOff);
}

// Why no agent runs.
void checkAutostart(Doctor& doctor)
{
    const QString name = u"vantoryAgent.desktop"_s;
    const QString system = FilePaths::system(u"/etc/xdg/autostart/"_s + name);
    const QString own = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                        u"/autostart/"_s + name;
    const bool hasOwn = FileFacts::of(own).kind == FileFacts::Kind::Regular;
    if (isSwitchedOff(own)) {
        doctor.warn("doctor.autostartOff"_L1, {own, Doctor::command(u"rm"_s, own)});
    } else if (!hasOwn && FileFacts::of(system).kind != FileFacts::Kind::Regular) {
        doctor.warn("doctor.autostartMissing"_L1, {system});
    } else if (!hasOwn && isSwitchedOff(system)) { // where the service starts the agent
        doctor.terminal.say("doctor.autostartOffForAll"_L1, {system});
    } else if (Account::uid() != 0 && !SessionLock::isTaken(DisplayConnection::keeperLock())) {
        doctor.warn("doctor.keeperIsMissing"_L1);
    } else {
        doctor.terminal.say("doctor.agentIsMissing"_L1);
    }
}

void checkAgent(Doctor& doctor, const DesktopFacts& facts)
{
    const auto presence = RunningAgent::presence();
    if (presence == RunningAgent::Presence::Responding) {
        doctor.terminal.say("doctor.agentRuns"_L1);
    } else if (presence == RunningAgent::Presence::Silent) {
        doctor.warn("doctor.agentIsSilent"_L1);
    } else if (facts.hasBus) { // else it may be known to a bus that does not respond
        checkAutostart(doctor);
    }
}

} // namespace

void Doctor::examineDesktop()
{
    const DesktopFacts facts = DesktopFacts::gather();
    const bool isDesktop = facts.display != Display::NotNamed && facts.isBusNamed;
    if (!isDesktop && Account::uid() == 0) {
        terminal.say("doctor.noDesktop"_L1);
        return;
    }
    checkDisplay(*this, facts);
    if (facts.display != Display::NotNamed) {
        checkBus(*this, facts);
        checkLogind(*this, facts);
        checkAgent(*this, facts);
    }
}
