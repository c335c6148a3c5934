#include "keeper/Keeper.h"

#include "platform/display/DisplayTimeout.h"
#include "platform/files/SessionLock.h"
#include "platform/network/SocketOwners.h"
#include "platform/processes/DesktopScope.h"
#include "platform/processes/ProcessMemory.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/processes/TerminationSignals.h"
#include "settings/OemOptions.h"
#include "settings/ServiceAccounts.h"
#include "settings/ServicePort.h"

#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

// The agent's exit statuses that mean something here. All others only say that it has ended.
constexpr int kFailed = 1;
constexpr int kArgumentsRefused = 2;
constexpr int kAnotherRuns = 3;

std::atomic_bool isEnding = false;

void say(const QString& text)
{
    const QByteArray line = "vantoryAgentKeeper: " + text.toUtf8() + '\n';
    std::fputs(line.constData(), stderr);
}

bool endedWith(const ChildProcess::Result& result, int status)
{
    return result.status == status && !result.isSignal;
}

// Empty where the agent has only ended.
QString errorOf(const ChildProcess::Result& result)
{
    if (!result.status) {
        return u"cannot start the agent: "_s + result.error;
    }
    if (result.isSignal) {
        return u"signal %1 has killed the agent"_s.arg(*result.status);
    }
    if (result.status == kAnotherRuns) {
        return u"another agent runs in this session"_s;
    }
    return result.status == kArgumentsRefused ? u"the agent refuses its arguments"_s : QString();
}

} // namespace

void Keeper::run()
{
    ProcessMemory::hide(); // with what it keeps for the agents
    ProcessMemory::useOneHeap();
    const QString display = DisplayConnection::name();
    if (display.isEmpty()) {
        say(u"the environment names no display"_s);
        endProgram(1);
    }
    SessionLock lock;
    const auto result = lock.take(DisplayConnection::keeperLock());
    if (result == SessionLock::Result::Busy) {
        say(u"%1 has a keeper already"_s.arg(display));
        endProgram(0);
    }
    if (result == SessionLock::Result::Failed) {
        say(u"goes on without a lock: there can be no file"_s);
    }
    handleTerminationSignals([&lock, grace = m_intervals.forAgentsEnd] {
        isEnding = true;
        lock.release(); // another keeper need not wait for this one's agent
        ChildProcess::endRunning(grace);
        endProgram(0);
    });
    const auto giveUp = [display] {
        say(u"the display %1 does not answer"_s.arg(display));
        endProgram(1);
    };
    {
        // Longer than open() tries it: only for a library that does not return.
        const DisplayTimeout timeout(m_intervals.forDisplay + std::chrono::seconds(1), giveUp);
        if (!m_display.open(m_intervals.forDisplay)) {
            giveUp();
        }
    }
    // Else the agent would stay outside, and be left behind at the log-out.
    awaitDesktopScope(m_intervals.forScope);
    endProgram(keep());
}

// Returns the exit status.
int Keeper::keep()
{
    const QStringList arguments = QStringList{u"--kept"_s} + m_arguments;
    while (awaitService()) {
        const auto begin = std::chrono::steady_clock::now();
        const auto result = ChildProcess::run(
            m_agent, arguments, {.inherited = m_kept.descriptor(), .endsWithProgram = true});
        if (isEnding) {
            waitForProgramEnd();
        }
        if (isRemoved()) {
            return 0;
        }
        sayError(result);
        if (endedWith(result, kArgumentsRefused)) {
            return kArgumentsRefused;
        }
        if (m_display.isGoneWithin(waitAfter(result, std::chrono::steady_clock::now() - begin))) {
            break;
        }
    }
    return 0;
}

std::chrono::milliseconds Keeper::waitAfter(const ChildProcess::Result& result,
                                            std::chrono::nanoseconds lasted)
{
    if (endedWith(result, kAnotherRuns)) {
        return m_intervals.besideAnother;
    }
    // An orderly end counts, too: so a service that takes one agent at a time refuses the others.
    const bool hadNoLink =
        (endedWith(result, kFailed) || endedWith(result, 0)) && lasted < m_intervals.untilLink;
    m_wait =
        hadNoLink ? std::min(2 * m_wait, m_intervals.betweenFailures) : m_intervals.betweenLooks;
    return m_wait;
}

// Returns when the service listens, or false when the display or the agent has gone.
bool Keeper::awaitService()
{
    QString said;
    for (;;) {
        const OemOptions options = OemOptions::read();
        const quint16 port = servicePort(m_arguments, options);
        const auto owners = SocketOwners::listenersAt(port);
        const ServiceAccounts accounts(options);
        if (owners && std::any_of(owners->cbegin(), owners->cend(),
                                  [&](quint32 owner) { return accounts.contain(owner); })) {
            if (!said.isEmpty()) {
                say(u"starts the agent"_s);
            }
            return true;
        }
        const QString text = (owners ? u"waits for the service at port %1"_s
                                     : u"the system does not tell who listens at port %1"_s)
                                 .arg(port);
        if (text != said) {
            say(text);
            said = text;
        }
        if (m_display.isGoneWithin(m_intervals.betweenLooks) || isRemoved()) {
            return false;
        }
    }
}

// Whether the package has gone.
bool Keeper::isRemoved() const
{
    const bool isThere = QFileInfo::exists(m_agent);
    if (!isThere) {
        say(u"the agent was removed"_s);
    }
    return !isThere;
}

// Says an error when it first occurs, not each time.
void Keeper::sayError(const ChildProcess::Result& result)
{
    const QString error = errorOf(result);
    if (!error.isEmpty() && error != m_lastError) {
        say(error);
    }
    m_lastError = error;
}
