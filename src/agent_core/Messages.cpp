#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"

using namespace Qt::StringLiterals;

namespace {

void removeMessage(MessageInbox* message)
{
    QList<MessageInbox*>& messages = AppDelegate::state().messageInbox;
    const qsizetype index = messages.indexOf(message);
    if (index >= 0) {
        messages.removeAt(index);
        printLog(u"deleted index=%1"_s.arg(index));
    }
    message->deleteLater(); // it may be in the middle of its button's click or its timer's tick
}

} // namespace

void AppDelegate::showMessageInbox(const Message& message)
{
    if (isTerminating()) {
        return;
    }
    QList<QPoint> others;
    for (const MessageInbox* const shown : std::as_const(state().messageInbox)) {
        others.append(shown->position());
    }
    // Dies with the delegate, which owns its parent.
    auto* const window = new MessageInbox(&AppDelegate::labels, state().connectionStatus);
    state().messageInbox.append(window);
    QObject::connect(window, &MessageInbox::closed, window, [window] { removeMessage(window); });
    window->set(message.from, message.text, message.timeout, message.icon);
    window->present(others);
}
