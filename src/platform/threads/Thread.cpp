#include "platform/threads/Thread.h"

#include <QtGlobal>

#include <system_error>
#include <utility>

#include <pthread.h>

std::thread Thread::start(const std::string& name, std::function<void()> work)
{
    try {
        std::thread thread(std::move(work));
        ::pthread_setname_np(thread.native_handle(), name.substr(0, 15).c_str());
        return thread;
    } catch (const std::system_error& error) {
        qFatal("no thread for \"%s\": %s", name.c_str(), error.what());
    }
}

void Thread::mustBeAvailable(const std::string& name)
{
    start(name, [] {}).join();
}
