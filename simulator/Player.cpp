#include "simulator/Player.h"

#include "simulator/AgentLink.h"

#include <QProcess>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using enum Step::Kind;

// Of a longer message only the start is printed.
constexpr qsizetype kShownCharacters = 400;

bool needsLink(Step::Kind kind)
{
    constexpr std::array kKinds = {Send, Expect, ExpectEnd, Refuse, Close, Reset};
    return std::ranges::find(kKinds, kind) != kKinds.end();
}

QString shown(const QByteArray& message)
{
    const QString text = scriptText(message);
    if (text.size() <= kShownCharacters) {
        return text;
    }
    return u"%1... (%2 bytes)"_s.arg(text.first(kShownCharacters)).arg(message.size());
}

} // namespace

Player::Player(AgentLink& link, OnFailure onFailure, const QDir& screenshots)
    : m_link(link), m_onFailure(onFailure), m_screenshots(screenshots)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Player::onTime);
    connect(&link, &AgentLink::linked, this, &Player::onLinked);
    connect(&link, &AgentLink::received, this, &Player::onReceived);
    connect(&link, &AgentLink::ended, this, &Player::onEnded);
    connect(&link, &AgentLink::turnedAway, this,
            [this](const QString& reason) { say(u"turned away: "_s + reason); });
    connect(&link, &AgentLink::sent, this, [this](const QByteArray& message) {
        Q_EMIT said(Voice::Service, shown(message));
        if (m_current && m_current->kind == Send) { // not when its time is over
            done();
        }
    });
}

void Player::add(const Step& step)
{
    m_steps.push_back(step);
    startNextLater();
}

void Player::finish()
{
    m_noMoreSteps = true;
    startNextLater();
}

void Player::onLinked()
{
    say(u"the agent is linked"_s);
    m_inbox.clear(); // of the link before
    check();
}

void Player::onReceived(const QByteArray& message)
{
    const bool isIgnored = std::ranges::any_of(
        m_ignored, [&](const Pattern& pattern) { return pattern.matches(message); });
    Q_EMIT said(Voice::Agent, shown(message) + (isIgnored ? u"  (ignored)"_s : QString()));
    if (isIgnored) {
        return;
    }
    m_inbox += message;
    check();
}

void Player::onEnded(bool byAgent)
{
    say(byAgent ? u"the agent has closed the link"_s : u"the link is closed"_s);
    m_endedByAgent = byAgent;
    m_leftUnexpected = byAgent && !m_wrappingUp && !(m_current && m_current->kind == Close);
    if (m_wrappingUp) {
        Q_EMIT finished(m_failed ? 1 : 0);
    } else {
        check();
    }
}

// In a later turn of the event loop: no step begins inside the signal that ended the one before.
void Player::startNextLater()
{
    QMetaObject::invokeMethod(this, &Player::startNext, Qt::QueuedConnection);
}

void Player::startNext()
{
    if (m_current || m_wrappingUp) {
        return;
    }
    if (m_steps.empty()) {
        if (m_noMoreSteps) {
            wrapUp();
        }
        return;
    }
    if (!m_hasAccepted && needsLink(m_steps.front().kind)) {
        Step accept = *parseScriptLine(u"accept"_s).step;
        accept.place = m_steps.front().place;
        m_steps.push_front(accept);
    }
    m_current = std::move(m_steps.front());
    m_steps.pop_front();
    begin();
}

// Some steps are done at once. The others wait for a message, for the link, for the timer or for a
// process.
void Player::begin()
{
    const Step& step = *m_current;
    if (step.kind != Send) {
        say(step.kind == Say ? step.text : step.source);
    }
    switch (step.kind) {
    case Say:
        return done();
    case Ignore:
        m_ignored += step.pattern;
        m_inbox.removeIf([&](const QByteArray& message) { return step.pattern.matches(message); });
        return done();
    case Reset:
        m_link.reset();
        return done();
    case Screenshot:
        return takeScreenshot();
    case Run:
        return runShell(step.text);
    case Accept:
        m_hasAccepted = true;
        m_leftUnexpected = false;
        break;
    case Send:
        m_link.send(step.message);
        break;
    case Close:
        m_link.close();
        break;
    default:
        break;
    }
    m_timer.start(step.time);
    check();
}

// Ends the current step if what has come so far decides it.
void Player::check()
{
    if (!m_current) {
        return;
    }
    switch (m_current->kind) {
    case Accept:
        if (m_link.isLinked()) {
            done();
        }
        break;
    case Close:
        if (!m_link.isLinked()) {
            done();
        }
        break;
    case Send:
        if (!m_link.isLinked()) {
            fail(u"the agent is not linked"_s);
        }
        break;
    case Expect:
        checkExpect();
        break;
    case ExpectEnd:
        checkExpectEnd();
        break;
    case Refuse:
        checkRefuse();
        break;
    default:
        break;
    }
}

void Player::checkExpect()
{
    if (m_inbox.isEmpty()) {
        if (!m_link.isLinked()) {
            fail(u"the agent has left"_s);
        }
        return;
    }
    const QByteArray message = m_inbox.takeFirst();
    if (m_current->pattern.matches(message)) {
        done();
    } else {
        fail(u"instead came \"%1\""_s.arg(shown(message)));
    }
}

void Player::checkExpectEnd()
{
    if (!m_inbox.isEmpty()) {
        fail(u"instead came \"%1\""_s.arg(shown(m_inbox.takeFirst())));
    } else if (!m_link.isLinked()) {
        m_leftUnexpected = false;
        if (m_endedByAgent) {
            done();
        } else {
            fail(u"it was not the agent that closed the link"_s);
        }
    }
}

void Player::checkRefuse()
{
    const auto refused = std::ranges::find_if(
        m_inbox, [this](const QByteArray& message) { return m_current->pattern.matches(message); });
    if (refused != m_inbox.end()) {
        fail(u"\"%1\" came"_s.arg(shown(*refused)));
    } else if (!m_link.isLinked()) {
        fail(u"the agent has left, so nothing could come"_s);
    }
}

void Player::onTime()
{
    switch (m_current->kind) {
    case Wait:
    case Refuse:
        return done();
    case Send:
        return fail(u"the agent has not read it in time"_s);
    case Accept:
        return fail(u"no agent came in time"_s);
    case ExpectEnd:
        return fail(u"the agent has not left in time"_s);
    default:
        return fail(u"nothing came in time"_s);
    }
}

void Player::takeScreenshot()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        say(u"(no DISPLAY: no screenshot)"_s);
        done();
        return;
    }
    m_screenshots.mkpath(u"."_s); // where this fails, the command fails and says why
    const QString file =
        u"%1-%2.png"_s.arg(++m_screenshotCount, 2, 10, QChar(u'0')).arg(m_current->text);
    const QString command =
        qEnvironmentVariable("VANTORY_SCREENSHOT_COMMAND", u"import -window root"_s);
    runShell(command + u" \"$1\""_s, m_screenshots.absoluteFilePath(file));
}

void Player::runShell(const QString& command, const QString& argument)
{
    auto* process = new QProcess(this);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->setStandardInputFile(QProcess::nullDevice());
    connect(process, &QProcess::finished, process, &QObject::deleteLater);
    connect(process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        if (status == QProcess::CrashExit) {
            fail(u"the command was ended by a signal"_s);
        } else if (code != 0) {
            fail(u"the command ended with status %1"_s.arg(code));
        } else {
            done();
        }
    });
    connect(process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) { // after any other error it has finished
            fail(u"/bin/sh cannot be started"_s);
        }
    });
    process->start(u"/bin/sh"_s, {u"-c"_s, command, u"sh"_s, argument});
}

void Player::done()
{
    m_timer.stop();
    m_current.reset();
    startNextLater();
}

void Player::fail(const QString& reason)
{
    QStringList line{m_current->source, reason};
    if (!m_current->place.isEmpty()) {
        line.prepend(m_current->place);
    }
    Q_EMIT said(Voice::Failure, line.join(u": "_s));
    m_failed = true;
    if (m_onFailure == OnFailure::Stop) {
        m_steps.clear();
        m_noMoreSteps = true;
    }
    done();
}

void Player::wrapUp()
{
    m_wrappingUp = true;
    if (m_leftUnexpected && m_onFailure == OnFailure::Stop && !m_failed) {
        Q_EMIT said(Voice::Failure, u"the agent has left and no step expected it"_s);
        m_failed = true;
    }
    if (m_link.isLinked()) {
        m_link.close(); // onEnded() goes on
    } else {
        Q_EMIT finished(m_failed ? 1 : 0);
    }
}
