// What an inbound message costs from its bytes to the agent's state (recognised, decoded, posted to
// the main thread and handled there, with its lines in the log), against QJsonDocument's reading of
// the same bytes. Processor time.
#include "AgentFixture.h"
#include "Figures.h"

#include "dispatch/MessageDispatch.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QByteArray json(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A message many times, in turn with the reference. The main thread handles so many at a time.
void measure(const char* what, const QByteArray& command, const QByteArray& payload, int burst = 1)
{
    constexpr int kRounds = 41;
    constexpr int kMessages = 100;
    std::vector<double> messages;
    std::vector<double> references;
    const QByteArray bytes = command + payload;
    for (int round = 0; round < kRounds; ++round) {
        messages.push_back(Figures::processorTimeOf([&bytes, burst] {
                               for (int i = 1; i <= kMessages; ++i) {
                                   static_cast<void>(
                                       MessageDispatch::checkMessage(QString::fromUtf8(bytes)));
                                   while (i % burst == 0 && MainQueue::waiting() > 0) {
                                       QCoreApplication::processEvents();
                                   }
                               }
                           }) *
                           1000 / kMessages);
        references.push_back(Figures::processorTimeOf([&payload] {
                                 for (int i = 0; i < kMessages; ++i) {
                                     static_cast<void>(QJsonDocument::fromJson(payload));
                                 }
                             }) *
                             1000 / kMessages);
    }
    Figures::show(what, messages, references, "us");
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    AgentFixture agent;
    if (!agent.start()) {
        std::fputs("the agent did not start\n", stderr);
        return 1;
    }
    QJsonArray sessions;
    for (int i = 0; i < 20; ++i) {
        sessions.append(QJsonObject{{u"session"_s, i},
                                    {u"remoteDevice"_s, u"Desk 12"_s},
                                    {u"remoteControlUser"_s, u"Ann Carter"_s},
                                    {u"sessionDate"_s, 800'000'000.5}});
    }
    measure("a status with 20 sessions, wire to state", "status=",
            json({{u"accountIsValid"_s, true},
                  {u"gateway"_s, u"gateway.example.com"_s},
                  {u"sessionId"_s, u"0123456789"_s},
                  {u"sessions"_s, sessions}}));
    measure("a chat's line of 60,000 bytes, wire to state", "receive_chat=",
            json({{u"context"_s, 1},
                  {u"from"_s, u"Ann"_s},
                  {u"text"_s, u"lorem ipsum "_s.repeated(5'000)}}));
    const QByteArray line =
        json({{u"context"_s, 1}, {u"from"_s, u"Ann"_s}, {u"text"_s, QString(100, u'a')}});
    measure("a chat's line of 100 bytes, wire to state", "receive_chat=", line);
    measure("one of 100 that come at once", "receive_chat=", line, 100);
}
