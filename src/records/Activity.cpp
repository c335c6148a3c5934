#include "records/Activity.h"

#include <algorithm>
#include <iterator>

void ActivityList::add(const Activity& activity)
{
    m_all.append(activity);
    QString& text = m_all.last().text;
    if (text.size() > kLongestText) {
        const bool isHalf = text.at(kLongestText - 1).isHighSurrogate();
        text = text.left(kLongestText - (isHalf ? 1 : 0)) + u'…';
    }
    if (m_all.size() > kMost) {
        // What the person has not seen stays, as long as anything else can go.
        const auto seen = std::find_if(m_all.cbegin(), m_all.cend(),
                                       [](const Activity& kept) { return !kept.isUnseen; });
        m_all.erase(seen != m_all.cend() ? seen : m_all.cbegin());
        ++m_dropped;
    }
}

void ActivityList::finish(quint64 command, qint64 status)
{
    const auto found =
        std::find_if(m_all.rbegin(), m_all.rend(), [command](const Activity& activity) {
            return activity.kind == Activity::Kind::Command && activity.command == command;
        });
    if (found != m_all.rend()) {
        found->status = status;
    }
}

QList<Activity> ActivityList::unseen() const
{
    QList<Activity> found;
    std::copy_if(m_all.cbegin(), m_all.cend(), std::back_inserter(found),
                 [](const Activity& activity) { return activity.isUnseen; });
    return found;
}

bool ActivityList::hasUnseen() const
{
    return std::any_of(m_all.cbegin(), m_all.cend(),
                       [](const Activity& activity) { return activity.isUnseen; });
}

void ActivityList::markSeen()
{
    for (Activity& activity : m_all) {
        activity.isUnseen = false;
    }
}
