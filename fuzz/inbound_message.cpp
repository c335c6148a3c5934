// What one read of the link can hold: recognition, decoding and dispatch, up to the operations of
// the delegate and to the running of commands, which only look at what they are given.
#include "agent_state/AppDelegate.h"
#include "dispatch/MessageDispatch.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"
#include "support/Fuzzing.h"

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

std::vector<std::function<void()>> posted;

void runPosted()
{
    for (const auto& work : std::exchange(posted, {})) {
        work();
    }
}

} // namespace

// Run when the message is gone, as on the main thread: what was posted must hold values.
void MainQueue::post(std::function<void()> work)
{
    posted.push_back(std::move(work));
}

void MainQueue::postAndWait(std::function<void()> work)
{
    runPosted();
    work();
}

Descriptor Worker::start(std::function<void()> work)
{
    work();
    return {};
}

void AppDelegate::post(std::function<void()> action)
{
    MainQueue::post(std::move(action));
}

std::function<void()> AppDelegate::whileRunning(std::function<void()> action)
{
    return action;
}

void AppDelegate::gatewayConnected(const QString& /*name*/) {}
void AppDelegate::gatewayDisconnected() {}
void AppDelegate::accountInvalid() {}
void AppDelegate::sessionConnected(const SessionInfo& /*session*/) {}
void AppDelegate::sessionDisconnected(qint64 /*session*/) {}
void AppDelegate::allSessionsDisconnected() {}
void AppDelegate::statusReceived(const std::optional<StatusInfo>& /*status*/) {}
void AppDelegate::commandBegan(quint64 /*command*/, const QString& /*text*/) {}
void AppDelegate::commandEnded(quint64 /*command*/, qint64 /*status*/) {}
bool AppDelegate::acceptIfScreenIsLocked(qint64 session, const QString& /*controlName*/)
{
    return session % 2 == 0;
}
void AppDelegate::userAcknowledgeRequest(qint64 session, const QString& server,
                                         const QString& controlName)
{
    require(session % 2 != 0, "nobody is asked for what is accepted");
    require(!server.isEmpty() && !controlName.isEmpty(), "the question names server and operator");
}
void AppDelegate::closeAcknowledgement() {}
void AppDelegate::showMessageInbox(const Message& /*message*/) {}
void AppDelegate::requestChat(qint32 /*token*/, qint32 /*session*/) {}
void AppDelegate::closeChat(qint32 /*token*/) {}
void AppDelegate::receiveChat(const ChatMessage& /*message*/) {}
void AppDelegate::chatMemberJoined(const ChatMember& /*member*/) {}
void AppDelegate::chatMemberLeft(const ChatMember& /*member*/) {}
void AppDelegate::send(const QString& command)
{
    require(command.lastIndexOf("#####"_L1) == 0, "one command is sent at a time");
}

RemoteCommands::Started RemoteCommands::executeCommand(const QString& /*text*/)
{
    return {[] { return 3; }};
}
RemoteCommands::Started RemoteCommands::executeApplication(const QString& /*text*/)
{
    return {[] { return 3; }};
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bool mayBeFatal = false;
    try {
        const QString text = QString::fromUtf8(viewOf(data, size));
        mayBeFatal = text.startsWith("request_chat="_L1) && !text.contains(u',');
        const auto handled = MessageDispatch::checkMessage(text);
        require(!handled.command || text.startsWith(*handled.command),
                "the command begins the message");
        handled.rest();
    } catch (const FatalState&) {
        require(mayBeFatal, "only a chat without a session ends the program");
    }
    runPosted();
    return 0;
}
