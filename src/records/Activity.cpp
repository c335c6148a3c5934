#include "records/Activity.h"

#include <algorithm>

void ActivityList::add(const Activity& activity)
{
    m_all.append(activity);
    QString& text = m_all.last().text;
    if (text.size() > kLongestText) {
        const bool isHalf = text.at(kLongestText - 1).isHighSurrogate();
        text = text.left(kLongestText - (isHalf ? 1 : 0)) + u'…';
    }
    if (m_all.size() > kMost) {
        // What the user has not seen stays, as long as anything else can go.
        const auto seen = std::find_if(m_all.cbegin(), m_all.cend(),
                                       [](const Activity& kept) { return !kept.isUnseen; });
        m_all.erase(seen != m_all.cend() ? seen : m_all.cbegin());
        ++m_dropped;
    }
}

void ActivityList::finish(quint64 command, qint64 status)
{
    for (Activity& activity : m_all) {
        if (activity.kind == Activity::Kind::Command && activity.command == command) {
            activity.status = status;
        }
    }
}

QList<Activity> ActivityList::unseen() const
{
    QList<Activity> found = m_all;
    found.removeIf([](const Activity& activity) { return !activity.isUnseen; });
    return found;
}

void ActivityList::markSeen()
{
    for (Activity& activity : m_all) {
        activity.isUnseen = false;
    }
}
