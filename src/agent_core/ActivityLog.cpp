#include "agent_core/ActivityLog.h"

#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Kind = Activity::Kind;

namespace {

// The limit of an entry's text, in UTF-16 code units; a longer one is cut and ends in '…'.
constexpr qsizetype kLongestText = 10'000;
// A file that is written anew is filled up to here: the rest is for later entries.
constexpr qsizetype kMostKept = MemoryFile::kSize / 4 * 3;

Activity activityOf(Kind kind, const SessionInfo& session)
{
    const bool hasDate = kind == Kind::SessionBegan && session.sessionDate.value_or(-1) >= 0;
    return {.kind = kind,
            .time = hasDate ? sessionDateTime(*session.sessionDate) : QDateTime(),
            .session = session.session,
            .name = session.remoteControlUser};
}

// Of a command, in the journal.
constexpr qsizetype kLongestCommand = 256;

// What the journal says of an activity.
struct JournalEntry {
    const char* id;       // the catalog's, too
    const char16_t* text; // with the details
};

// In the order of Activity::Kind, then the end of a command.
constexpr JournalEntry kJournalEntries[] = {
    {"10ec20e8b56c42c6bac489fb94a2a63b", u"session began: %1"},
    {"a88f90ec8fd04c88901d621f7e6d0fcb", u"session ended: %1"},
    {"9b71c1055c484eaf8370a2aacf8b41be", u"session has not ended: %1"},
    {"c624873415e9406fab3b75c73fe1d8cc", u"request accepted: %1"},
    {"4ccf427a69a644849407746398354a46", u"request declined: %1"},
    {"9c2ee0eedab74030b151a2edacc03152", u"request waits: %1"},
    {},
    {"91ed2d134af14561894e7c44d2144b27", u"command began: %1"},
    {"fed0bdf8738c40f1880c0894bc429bdd", u"command ended: %1"},
};

// An entry of the system's journal, by which an administrator can ask who was in session, who was
// let in by whom, and which commands ran; packaging/vantoryAgent.catalog explains it. No text of a
// message, and of a command the first 256 characters.
void tellJournal(const Activity& activity)
{
    if (activity.kind == Activity::Kind::Message) {
        return;
    }
    const bool isCommand = activity.kind == Activity::Kind::Command;
    const auto& [id, text] =
        kJournalEntries[static_cast<int>(activity.kind) + (activity.status ? 1 : 0)];
    // Asked once: the account database may be a directory service, which can take long.
    static const QString& account = *new QString(Account::loginName());
    QString details = isCommand ? activity.text.left(kLongestCommand) : activity.name;
    JournalFields fields = {{"MESSAGE_ID", QString::fromLatin1(id)},
                            {"VANTORY_ACCOUNT", account},
                            {"VANTORY_SESSION", QString::number(activity.session)},
                            {isCommand ? "VANTORY_COMMAND" : "VANTORY_OPERATOR", details}};
    const QJsonObject json = activity.toJson();
    for (const auto& [name, key] :
         {std::pair{"VANTORY_BY", "by"_L1}, {"VANTORY_STATUS", "status"_L1}}) {
        if (json.contains(key)) {
            const QString value = json[key].toVariant().toString();
            fields.append({name, value});
            details += u" ("_s + value + u')';
        }
    }
    printJournal(QString::fromUtf16(text).arg(details), fields);
}

} // namespace

ActivityLog::ActivityLog(MemoryFile kept, QObject* parent)
    : QObject(parent), m_kept(std::move(kept))
{
    if (m_kept.isOpen()) {
        readKept();
    }
    const SessionList& sessions = AppDelegate::state().sessions;
    const AgentEvents& events = AppDelegate::state().events;
    const auto noteAs = [this](Kind kind) {
        return [this, kind](const SessionInfo& session) { note(activityOf(kind, session)); };
    };
    connect(&sessions, &SessionList::began, this, noteAs(Kind::SessionBegan));
    connect(&sessions, &SessionList::ranBefore, this, &ActivityLog::noteRunning);
    connect(&sessions, &SessionList::hasNotEnded, this, noteAs(Kind::SessionNotEnded));
    connect(&sessions, &SessionList::ended, this, noteAs(Kind::SessionEnded));
    connect(&sessions, &SessionList::reported, this, &ActivityLog::noteReport);
    connect(&events, &AgentEvents::requestNoted, this, &ActivityLog::noteRequest);
    connect(&events, &AgentEvents::messageShown, this, &ActivityLog::noteMessage);
    connect(&events, &AgentEvents::commandBegan, this, &ActivityLog::noteCommand);
    connect(&events, &AgentEvents::commandEnded, this, &ActivityLog::finishCommand);
    connect(&events, &AgentEvents::screenLockChanged, this, &ActivityLog::setScreenLocked);
}

void ActivityLog::readKept()
{
    const QByteArray records = m_kept.read();
    if (const auto kept = ActivityList::fromRecords(records)) {
        m_activities = *kept;
    } else if (!records.isEmpty()) {
        printErrorLog(u"the list of what happened is damaged, and begins anew"_s);
    }
    m_kept.write(m_activities.records(kMostKept));
}

void ActivityLog::keep(const QByteArray& record)
{
    if (m_kept.isOpen() && !m_kept.append(record)) {
        m_kept.write(m_activities.records(kMostKept));
    }
    if (m_window) {
        m_window->update();
    }
}

// Changes the entries for which it returns true.
void ActivityLog::edit(const std::function<bool(Activity&)>& change)
{
    const QList<Activity> all = m_activities.all();
    for (Activity activity : all) {
        if (change(activity)) {
            keep(m_activities.put(activity));
        }
    }
}

void ActivityLog::note(Activity activity, bool isOlder)
{
    if (!activity.time.isValid()) {
        activity.time = QDateTime::currentDateTimeUtc();
    }
    for (QString* const text : {&activity.name, &activity.text}) {
        if (text->size() > kLongestText) {
            text->truncate(kLongestText - (text->at(kLongestText - 1).isHighSurrogate() ? 1 : 0));
            *text += u'…';
        }
    }
    activity.isUnseen = activity.isUnseen || (m_isScreenLocked && !isOlder);
    keep(m_activities.put(activity));
    tellJournal(activity);
    if (activity.isUnseen) {
        Q_EMIT unseenChanged(true);
    }
}

void ActivityLog::noteRunning(const SessionInfo& session)
{
    if (std::ranges::none_of(m_activities.openSessions(), [&](const Activity& listed) {
            return listed.session == session.session && listed.name == session.remoteControlUser;
        })) {
        note(activityOf(Kind::SessionBegan, session), true);
    }
}

// A session of an earlier run may have ended between that run and this one.
void ActivityLog::noteReport()
{
    for (Activity& open : m_activities.openSessions()) {
        if (!isListed(open.session, AppDelegate::state().sessions.all())) {
            note({.kind = Kind::SessionEnded, .session = open.session, .name = open.name}, true);
        }
    }
}

void ActivityLog::noteRequest(qint64 session, const QString& controlName, Kind kind,
                              Activity::By by)
{
    const bool isAbsent = by != Activity::By::User;
    note({.kind = kind, .session = session, .name = controlName, .by = by, .isUnseen = isAbsent});
    // Noted after the unlocking, or where no unlocking is reported: nothing else would tell of it.
    if (isAbsent && !m_isScreenLocked) {
        tellAbsence();
    }
}

void ActivityLog::noteMessage(const QObject* window, const QString& from, const QString& text)
{
    note({.kind = Kind::Message, .name = from, .text = text});
    // One that is still open when the user returns has not been missed.
    connect(this, &ActivityLog::userReturned, window, [this, message = m_activities.lastNumber()] {
        edit([message](Activity& activity) {
            return activity.number == message && std::exchange(activity.isUnseen, false);
        });
    });
}

void ActivityLog::noteCommand(qint64 session, const QString& text)
{
    note({.kind = Kind::Command, .session = session, .text = text.trimmed(), .isRunning = true});
    m_command = m_activities.lastNumber();
}

void ActivityLog::finishCommand(qint64 status)
{
    edit([this, status](Activity& activity) {
        if (activity.number != m_command) {
            return false;
        }
        activity.status = status;
        activity.isRunning = false;
        tellJournal(activity);
        return true;
    });
}

void ActivityLog::setScreenLocked(bool isLocked)
{
    m_isScreenLocked = isLocked;
    if (isLocked) {
        return;
    }
    Q_EMIT userReturned();
    tellUnseen();
    if (m_activities.hasUntold()) {
        tellAbsence();
    }
}

void ActivityLog::show()
{
    if (!m_window) {
        m_window = std::make_unique<ActivityWindow>(&AppDelegate::labels, m_activities);
        connect(m_window.get(), &ActivityWindow::seen, this, &ActivityLog::markSeen);
    }
    m_window->present();
    Q_EMIT shown();
}

void ActivityLog::tellUnseen()
{
    Q_EMIT unseenChanged(!m_activities.unseen().isEmpty());
}

void ActivityLog::tellAbsence()
{
    keep(m_activities.markTold());
    QList<Activity> unseen = m_activities.unseen();
    // Its dialog is there, or the service has withdrawn it.
    unseen.removeIf([](const Activity& activity) { return activity.kind == Kind::RequestWaits; });
    if (!unseen.isEmpty()) {
        Q_EMIT absenceEnded(unseen);
    }
}

void ActivityLog::markSeen()
{
    edit([](Activity& activity) { return std::exchange(activity.isUnseen, false); });
    tellUnseen();
    Q_EMIT shown(); // once more: what came while the list was open is seen, too
}
