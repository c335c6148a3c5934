#pragma once

#include "simulator/Script.h"
#include "simulator/Voice.h"

#include <QDir>
#include <QList>
#include <QObject>
#include <QTimer>

#include <deque>
#include <optional>

class AgentLink;

// Plays steps over the link, one after the other, each when the one before is done.
//
// Nothing here blocks: a step begins, and the link, the timer or a child process say when it is
// over. What the agent sends waits in an inbox until a step takes it, so a script may look at it
// late.
class Player : public QObject {
    Q_OBJECT

public:
    enum class OnFailure {
        Stop, // the first failure ends a script
        GoOn, // a person who types gets to see it and types on
    };

    // The link must outlive the player.
    Player(AgentLink& link, OnFailure onFailure, const QDir& screenshots);

    void add(const Step& step);

    // No more steps come: when all are done the link is closed and the player has finished.
    void finish();

Q_SIGNALS:
    void said(Voice voice, const QString& line);
    void finished(int status); // 0, or 1 when something failed

private:
    void onLinked();
    void onReceived(const QByteArray& message);
    void onEnded(bool byAgent);
    void onTime();

    void startNextLater();
    void startNext();
    void begin();
    void check();
    void done();
    void fail(const QString& reason);
    void wrapUp();

    void checkExpect();
    void checkExpectEnd();
    void checkRefuse();
    void takeScreenshot();
    void runShell(const QString& command, const QString& argument = {});

    void say(const QString& line) { Q_EMIT said(Voice::Step, line); }

    AgentLink& m_link;
    const OnFailure m_onFailure;
    const QDir m_screenshots;
    int m_screenshotCount = 0;

    std::deque<Step> m_steps;      // to be played
    std::optional<Step> m_current; // being played
    QTimer m_timer;                // the current step's limit, or its length
    bool m_noMoreSteps = false;
    bool m_wrappingUp = false;
    bool m_failed = false;

    QList<QByteArray> m_inbox; // came, and no step has taken it
    QList<Pattern> m_ignored;
    bool m_hasAccepted = false;    // a first link was waited for
    bool m_endedByAgent = false;   // of the last link
    bool m_leftUnexpected = false; // the agent closed the link and no step has asked for it yet
};
