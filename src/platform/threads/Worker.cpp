#include "platform/threads/Worker.h"

#include <system_error>
#include <thread>

#include <pthread.h>

void Worker::run(std::function<void()> work)
{
    try {
        std::thread thread(work);
        ::pthread_setname_np(thread.native_handle(), "worker");
        thread.detach();
    } catch (const std::system_error&) {
        work();
    }
}
