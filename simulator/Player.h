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

// Plays steps over the link, one after the other.
//
// Nothing here blocks: a step begins, and a signal of the link, the timer or a child process ends
// it. The agent's messages wait in an inbox until a step takes them.
class Player : public QObject {
    Q_OBJECT

public:
    enum class OnFailure {
        Stop, // for a script
        GoOn, // for a person who types
    };

    // The link must outlive the player.
    Player(AgentLink& link, OnFailure onFailure, const QDir& screenshots);

    void add(const Step& step);

    // No more steps come: when all are done, the link is closed and finished() is emitted.
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

    QList<QByteArray> m_inbox; // messages that no step has taken yet
    QList<Pattern> m_ignored;
    bool m_hasAccepted = false;    // an "accept" has begun
    bool m_endedByAgent = false;   // whether the agent closed the last link
    bool m_leftUnexpected = false; // it did, and no step has expected that yet
};
