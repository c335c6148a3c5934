#include "agent_core/Names.h"

#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"

QString Names::inSession(const QString& name, qint64 session)
{
    return ShownText::isSeen(name)
               ? name
               : AppDelegate::labels().value_or(englishFallback()).Connection.session.arg(session);
}

QString Names::ofSender(const QString& name)
{
    return ShownText::isSeen(name) ? name
                                   : AppDelegate::labels().value_or(englishFallback()).Main.control;
}
