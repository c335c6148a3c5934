#include "agent_core/Names.h"

#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"

using namespace Qt::StringLiterals;

QString Names::inSession(const QString& name, qint64 session)
{
    return ShownText::isSeen(name)
               ? name
               : AppDelegate::labels().value_or(englishFallback()).Connection.session.arg(session);
}

QString Names::ofSender(const QString& name)
{
    if (ShownText::isSeen(name)) {
        return name;
    }
    const auto labels = AppDelegate::labels();
    return labels ? labels->Main.control : u"Control"_s;
}
