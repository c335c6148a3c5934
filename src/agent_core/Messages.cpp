#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// More windows than that help nobody, and each costs memory.
constexpr qsizetype kMostMessages = 20;

// In the newest message.
void showNotShown()
{
    const QList<MessageInbox*>& messages = AppDelegate::state().messageInbox;
    for (MessageInbox* const message : messages) {
        message->setNotShown(message == messages.last() ? AppDelegate::state().messagesNotShown
                                                        : 0);
    }
}

void closed(MessageInbox* message, bool isByUser)
{
    AgentState& state = AppDelegate::state();
    const qsizetype index = state.messageInbox.indexOf(message);
    if (index >= 0) {
        state.messageInbox.removeAt(index);
        printLog(u"deleted index=%1"_s.arg(index));
    }
    message->deleteLater(); // it may be in the middle of its button's click or its timer's tick
    // A message that closed by itself may not have been seen: the next one shows the count again.
    if (state.messageInbox.isEmpty() && isByUser) {
        state.messagesNotShown = 0;
    }
    showNotShown();
}

// Where as many are open as may be, closes the oldest one that the user is not in.
void closeOldestIfFull()
{
    AgentState& state = AppDelegate::state();
    if (state.messageInbox.size() < kMostMessages) {
        return;
    }
    const auto oldest =
        std::ranges::find_if_not(std::as_const(state.messageInbox), &MessageInbox::isActiveWindow);
    ++state.messagesNotShown;
    (*oldest)->stopMessage();
}

} // namespace

void AppDelegate::showMessageInbox(const Message& message)
{
    closeOldestIfFull();
    auto* const window = new MessageInbox(&AppDelegate::labels); // dies with the state
    state().messageInbox.append(window);
    QObject::connect(window, &MessageInbox::closed, window,
                     [window](bool isByUser) { closed(window, isByUser); });
    const QString from = Names::ofSender(message.from);
    window->set(from, message.text, message.timeout, message.icon);
    showNotShown();
    window->present();
    Q_EMIT state().events.messageShown(window, from, message.text);
}
