#include "agent_core/IconHint.h"

#include "agent_core/ActivityLog.h"
#include "platform/desktop/StatusItem.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/FilePaths.h"
#include "platform/threads/Worker.h"
#include "records/Intervals.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// The file that says that the user was told.
QString note()
{
    return FilePaths::userState(u"told-about-the-icon"_s);
}

} // namespace

IconHint::IconHint(const StatusItem& icon, const ActivityLog& log, QObject* parent)
    : QObject(parent), m_icon(&icon), m_log(log)
{
    m_timer.setSingleShot(true);
    m_timer.callOnTimeout(this, &IconHint::look);
}

void IconHint::start()
{
    m_timer.start(Intervals::current().untilIconHint);
}

void IconHint::look()
{
    if (m_log.isScreenLocked()) { // nobody would see it
        start();
        return;
    }
    // A home directory may hang.
    Worker::runThen([] { return QFileInfo::exists(note()); }, this,
                    [this](bool isTold) {
                        if (!isTold && m_icon && !m_icon->hasPlace()) {
                            Q_EMIT iconMissing();
                        }
                    });
}

void IconHint::remember()
{
    Worker::run([] {
        constexpr unsigned int kMode = 0600;
        QDir().mkpath(QFileInfo(note()).path());
        // Where it can't be written the user is told again, in a later run.
        [[maybe_unused]] const auto error = AtomicFile::write(note(), {}, kMode);
    });
}
