#include "platform/display/DisplayTimeout.h"

#include "platform/threads/Thread.h"

#include <utility>

DisplayTimeout::DisplayTimeout(std::chrono::milliseconds limit, std::function<void()> giveUp)
    : m_thread(Thread::tryStart("display", [limit, giveUp = std::move(giveUp),
                                            answered = m_answered.get_future().share()] {
          if (answered.wait_for(limit) != std::future_status::ready) {
              giveUp();
          }
      }))
{}
