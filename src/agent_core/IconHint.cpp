#include "agent_core/DesktopNotices.h"
#include "agent_state/AppDelegate.h"
#include "platform/desktop/StatusItem.h"
#include "platform/files/FilePaths.h"
#include "platform/files/WholeFile.h"
#include "platform/threads/Worker.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// There once the person was told.
QString note()
{
    return FilePaths::personState(u"told-about-the-icon"_s);
}

bool wasTold()
{
    return QFileInfo::exists(note());
}

// Where it can't be written the person is told again, in a later run.
void remember()
{
    constexpr unsigned int kMode = 0600;
    QDir().mkpath(QFileInfo(note()).path());
    [[maybe_unused]] const auto error = WholeFile::write(note(), {}, kMode);
}

} // namespace

void AppDelegate::tellMissingIcon()
{
    if (state().isScreenLocked) { // nobody would see it
        state().iconHintTimer->start();
        return;
    }
    // A home directory may hang.
    Worker::runThen(&wasTold, m_self, [](bool isTold) {
        if (!isTold && !isTerminating() && !state().statusBarItem->hasPlace()) {
            state().notices->tellMissingIcon();
        }
    });
}

void AppDelegate::noteIconHint()
{
    Worker::run(&remember);
}
