#include "platform/threads/Worker.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <system_error>
#include <thread>

#include <pthread.h>

namespace {

constexpr std::chrono::seconds kPause(1); // between the attempts where no thread is left

} // namespace

void Worker::run(std::function<void()> work)
{
    try {
        std::thread thread(work);
        ::pthread_setname_np(thread.native_handle(), "worker");
        thread.detach();
    } catch (const std::system_error&) {
        QTimer::singleShot(kPause, QCoreApplication::instance(), [work] { run(work); });
    }
}
