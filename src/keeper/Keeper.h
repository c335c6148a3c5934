#pragma once

#include "platform/display/DisplayConnection.h"
#include "platform/files/MainBundle.h"
#include "platform/files/MemoryFile.h"
#include "platform/processes/ChildProcess.h"

#include <QString>
#include <QStringList>

#include <chrono>

// The supervisor: starts the agent beside this program, in the user's session, and starts it again
// whenever it has ended: an agent makes one link to the service, and ends with it. While no account
// that may be the service listens at its port, or the kernel does not tell who does, it only looks
// there at a fixed interval, however long that takes, and never connects: the service would take
// that for an agent.
//
// Each display has one. It writes a line to standard error for each change, and nothing else.
// Main thread, before any other thread exists.
class Keeper {
public:
    struct Intervals {
        std::chrono::milliseconds betweenLooks = std::chrono::seconds(3);
        // The wait after each agent that had no link is twice the one before, up to this.
        std::chrono::milliseconds betweenFailures = std::chrono::minutes(1);
        // An agent that fails or ends sooner than this had no link.
        std::chrono::milliseconds untilLink = std::chrono::seconds(15);
        // The wait while another agent runs in the session.
        std::chrono::milliseconds besideAnother = std::chrono::seconds(30);
        // A desktop that has just started may need a moment.
        std::chrono::milliseconds forDisplay = std::chrono::seconds(30);
        // GNOME moves what it has started into a scope of systemd's.
        std::chrono::milliseconds forScope = std::chrono::seconds(3);
        // An agent that was asked to end is killed after this time.
        std::chrono::milliseconds forAgentsEnd = std::chrono::seconds(10);
    };

    // The arguments, without the program's name, are the agent's.
    Keeper(const QStringList& arguments, const Intervals& intervals)
        : m_arguments(arguments), m_intervals(intervals)
    {}

    // Ends the process: with 0 when SIGTERM, SIGINT or SIGHUP comes (they end the agent, too), when
    // the display goes, when the agent has been removed, or when the display has a keeper already;
    // with 1 when there is no display; with 2 when the agent refuses the arguments.
    [[noreturn]] void run();

private:
    int keep();
    [[nodiscard]] bool awaitService();
    [[nodiscard]] std::chrono::milliseconds waitAfter(const ChildProcess::Result& result,
                                                      std::chrono::nanoseconds lasted);
    [[nodiscard]] bool isRemoved() const;
    void sayError(const ChildProcess::Result& result);

    const QString m_agent = MainBundle::path() + QLatin1StringView("/vantoryAgent");
    const QStringList m_arguments;
    const Intervals m_intervals;
    DisplayConnection m_display;
    const MemoryFile m_kept = MemoryFile::make(); // what an agent leaves to the next one
    QString m_lastError;
    std::chrono::milliseconds m_wait = m_intervals.betweenLooks;
};
