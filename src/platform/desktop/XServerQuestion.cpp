#include "platform/desktop/XServerQuestion.h"

#include "platform/files/Descriptor.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

// The exit statuses of the process that asks.
enum Status { Unreachable, WithoutTray, WithTray };

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

Status askServer()
{
    int screen = 0;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        ::xcb_connect(nullptr, &screen), &xcb_disconnect);
    xcb_connection_t* const server = connection.get();
    if (::xcb_connection_has_error(server) != 0) {
        return Unreachable;
    }
    const std::string name = "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
    const auto length = static_cast<std::uint16_t>(name.size());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> atom(::xcb_intern_atom_reply(
        server, ::xcb_intern_atom(server, 1, length, name.c_str()), nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE) {
        return WithoutTray; // nobody has ever used the name
    }
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> owner(
        ::xcb_get_selection_owner_reply(server, ::xcb_get_selection_owner(server, atom->atom),
                                        nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE ? WithTray : WithoutTray;
}

} // namespace

XServerQuestion::Answer XServerQuestion::ask(std::chrono::milliseconds limit)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    const Descriptor mine(ends[0]);
    Descriptor childs(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        const char answer = static_cast<char>(askServer());
        ::_exit(::write(ends[1], &answer, 1) == 1 ? 0 : 1);
    }
    if (child < 0) {
        return {};
    }
    childs.close();
    // By the pipe and not by the exit status, which is lost where SIGCHLD is ignored.
    pollfd end = {mine.value(), POLLIN, 0};
    char answer = Unreachable;
    if (TEMP_FAILURE_RETRY(::poll(&end, 1, static_cast<int>(limit.count()))) <= 0) {
        ::kill(child, SIGKILL);
    } else if (::read(mine.value(), &answer, 1) != 1) {
        answer = Unreachable;
    }
    ::waitpid(child, nullptr, 0);
    return {answer != Unreachable, answer == WithTray};
}
