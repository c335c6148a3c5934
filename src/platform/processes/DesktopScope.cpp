#include "platform/processes/DesktopScope.h"

#include "platform/files/FilePaths.h"
#include "platform/files/RegularFile.h"

#include <QStringList>

#include <thread>

using namespace Qt::StringLiterals;

void awaitDesktopScope(std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds kBetweenLooks(50);
    if (!qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(u"GNOME"_s)) {
        return;
    }
    const QString groups = FilePaths::system(u"/proc/self/cgroup"_s); // cgroups(7)
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!RegularFile::read(groups).bytes.contains("/app-") &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kBetweenLooks);
    }
}
