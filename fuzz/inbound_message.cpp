// What one read of the link can hold: recognition, decoding and dispatch. The operations of the
// delegate do nothing in a program that has none.
#include "dispatch/MessageDispatch.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "service_link/PayloadRecords.h"
#include "service_link/RemoteCommands.h"
#include "support/Fuzzing.h"

using namespace Qt::StringLiterals;

// In place of the library's: nothing waits, and no thread is started.
void MainQueue::attach() {}
bool MainQueue::isMainThread()
{
    return true;
}
void MainQueue::assertMainThread() {}
void MainQueue::post(std::function<void()> /*work*/) {}
std::size_t MainQueue::waiting()
{
    return 0;
}
void Worker::run(std::function<void()> /*work*/) {}
Descriptor Worker::start(std::function<void()> /*work*/)
{
    return {};
}
Descriptor Worker::startOnMain(std::function<void()> /*work*/)
{
    return {};
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(viewOf(data, size));
    qputenv("VANTORY_ROOT", "/nowhere");  // no line is logged
    if (text.startsWith("execute_"_L1)) { // would run a command
        const auto info = decode_application_info(QStringView(text).mid(text.indexOf(u'=') + 1));
        require(!info || info->exec.contains(RemoteCommands::getCommand(info->exec)),
                "a command's first word is its own");
    } else if (!text.startsWith("request_chat="_L1) || text.contains(u',')) { // ends the program
        const auto handled = MessageDispatch::checkMessage(text);
        require(!handled.command || text.startsWith(*handled.command),
                "the command begins the message");
    }
    return 0;
}
