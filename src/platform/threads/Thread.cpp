#include "platform/threads/Thread.h"

#include <QtGlobal>

#include <system_error>
#include <utility>

#include <pthread.h>

std::jthread Thread::tryStart(const std::string& name, std::function<void()> work)
{
    try {
        std::jthread thread(std::move(work));
        ::pthread_setname_np(thread.native_handle(), name.substr(0, 15).c_str());
        return thread;
    } catch (const std::system_error&) {
        return {};
    }
}

std::jthread Thread::start(const std::string& name, std::function<void()> work)
{
    std::jthread thread = tryStart(name, std::move(work));
    if (!thread.joinable()) {
        qFatal("no thread for \"%s\"", name.c_str());
    }
    return thread;
}
