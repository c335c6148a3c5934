#include "records/ActivityList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTimeZone>

#include <algorithm>

using namespace Qt::StringLiterals;
using Kind = Activity::Kind;

namespace {

QByteArray lineOf(const QByteArray& text)
{
    return QByteArray::number(qChecksum(text), 16).rightJustified(4, '0') + ' ' + text + '\n';
}

QByteArray record(const QJsonObject& change)
{
    return lineOf(QJsonDocument(change).toJson(QJsonDocument::Compact));
}

QByteArray entryRecord(const Activity& activity)
{
    return record({{u"entry"_s, activity.toJson()}, {u"number"_s, qint64(activity.number)}});
}

} // namespace

QByteArray ActivityList::put(Activity activity)
{
    if (activity.number == 0) {
        activity.number = m_last + 1;
    }
    if (activity.number > m_last) {
        m_last = activity.number;
        m_all.append(activity);
    } else {
        std::replace_if(
            m_all.begin(), m_all.end(),
            [&](const Activity& other) { return other.number == activity.number; }, activity);
    }
    if (m_all.size() > kMost) {
        dropOne();
    }
    return entryRecord(activity);
}

QByteArray ActivityList::markTold()
{
    m_told = m_last;
    return record({{u"told"_s, qint64(m_told)}});
}

void ActivityList::dropOne()
{
    const QList<Activity> open = openSessions();
    const auto worth = [&open](const Activity& kept) {
        const bool isOpen = std::ranges::find(open, kept.number, &Activity::number) != open.end();
        // Without its end, a session that has ended would count as open.
        return isOpen || kept.kind == Kind::SessionEnded ? 3
               : kept.isUnseen                           ? 1 + (kept.kind != Kind::Command)
                                                         : 0;
    };
    // Of the older half: what has just happened is never the first to go.
    const auto half = m_all.cbegin() + (m_all.size() + 1) / 2;
    m_all.erase(std::ranges::min_element(m_all.cbegin(), half, {}, worth));
    ++m_dropped;
}

QList<Activity> ActivityList::unseen() const
{
    QList<Activity> found = m_all;
    found.removeIf([](const Activity& activity) { return !activity.isUnseen; });
    return found;
}

bool ActivityList::hasUntold() const
{
    const QList<Activity> found = unseen();
    return !found.isEmpty() && found.constLast().number > m_told;
}

QList<Activity> ActivityList::openSessions() const
{
    QList<Activity> open;
    for (const Activity& activity : m_all) {
        if (activity.kind <= Kind::SessionNotEnded) {
            open.removeIf([&](const Activity& other) { return other.session == activity.session; });
        }
        if (activity.kind == Kind::SessionBegan || activity.kind == Kind::SessionNotEnded) {
            open.append(activity);
        }
    }
    return open;
}

QJsonObject ActivityList::toJson() const
{
    QJsonArray entries;
    for (const Activity& activity : m_all) {
        entries.append(activity.toJson());
    }
    return {{u"since"_s, m_since.toString(Qt::ISODateWithMs)},
            {u"dropped"_s, m_dropped},
            {u"entries"_s, entries}};
}

QByteArray ActivityList::records(qsizetype most)
{
    for (;;) {
        QByteArray all = record({{u"since"_s, m_since.toMSecsSinceEpoch()},
                                 {u"dropped"_s, m_dropped},
                                 {u"told"_s, qint64(m_told)}});
        for (const Activity& activity : std::as_const(m_all)) {
            all += entryRecord(activity);
        }
        if (all.size() <= most) {
            return all;
        }
        for (qsizetype count = m_all.size() / 8 + 1; count > 0; --count) {
            dropOne();
        }
    }
}

std::optional<ActivityList> ActivityList::fromRecords(const QByteArray& records)
{
    ActivityList list;
    for (qsizetype begin = 0; begin < records.size();) {
        const QByteArray line = records.mid(begin, records.indexOf('\n', begin) + 1 - begin);
        const QByteArray text = line.mid(5).chopped(line.size() > 5 ? 1 : 0);
        const QJsonObject change = QJsonDocument::fromJson(text).object();
        auto activity = Activity::fromJson(change["entry"_L1].toObject());
        const bool isKnown =
            begin == 0 ? change.contains("since"_L1) : activity || change.contains("told"_L1);
        if (line != lineOf(text) || !isKnown) {
            return std::nullopt;
        }
        if (activity) {
            activity->isRunning = false; // a command has ended with the agent that ran it
            activity->number = static_cast<quint64>(change["number"_L1].toInteger());
            list.put(*activity);
        } else {
            list.m_told = static_cast<quint64>(change["told"_L1].toInteger());
        }
        if (begin == 0) {
            list.m_since =
                QDateTime::fromMSecsSinceEpoch(change["since"_L1].toInteger(), QTimeZone::utc());
            list.m_dropped = change["dropped"_L1].toInteger();
        }
        begin += line.size();
    }
    return records.isEmpty() ? std::nullopt : std::optional(list);
}
