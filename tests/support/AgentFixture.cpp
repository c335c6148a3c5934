#include "AgentFixture.h"

#include "dispatch/MessageDispatch.h"
#include "platform/accounts/Account.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/files/FilePaths.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "window_kit/InputGuard.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

// In place of the program's own: a test that loses its process must not pass.
void endProgram(int status)
{
    std::fprintf(stderr, "the program under test ended with status %d\n", status);
    std::abort();
}

void waitForProgramEnd()
{
    endProgram(0);
}

AgentFixture::AgentFixture()
{
    static const bool isAttached = (MainQueue::attach(), WindowActivation::watchInput(), true);
    Q_UNUSED(isAttached)
    qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path()));
    qputenv("LANGUAGE", "en");
    QDir(m_root.path()).mkpath(u"var/lib/Halvern/vantoryAgent/logs"_s);
    Intervals::current() = Intervals();
    // What comes by itself after the start, only where a test wants it.
    Intervals::current().untilSettings = Intervals::current().untilStatusRequest =
        Intervals::current().untilIconHint = std::chrono::hours(1);
    m_server.listen(QHostAddress::LocalHost);
}

AgentFixture::~AgentFixture()
{
    delegate.reset(); // before the service goes: the link's end would end the process
}

bool AgentFixture::start()
{
    const QString resources = QCoreApplication::applicationDirPath() + u"/Resources/"_s;
    writeFile(resources + u"oem.plist"_s,
              "<plist version=\"1.0\"><dict><key>port</key><integer>" +
                  QByteArray::number(m_server.serverPort()) +
                  "</integer><key>service_accounts</key><array><string>" +
                  Account::loginName().toUtf8() + "</string></array>" + options +
                  "</dict></plist>");
    delegate = std::make_unique<AppDelegate>(&MessageDispatch::checkMessage);
    delegate->applicationDidFinishLaunching();
    return QTest::qWaitFor([this] {
        m_agent = m_agent != nullptr ? m_agent : m_server.nextPendingConnection();
        return m_agent != nullptr && !log().filter(u"Client connection ready"_s).isEmpty();
    });
}

bool AgentFixture::send(const QByteArray& message)
{
    const auto handled = [this] { return log().filter(u"string: "_s).size(); };
    const auto before = handled();
    m_agent->write(message);
    // With what it posted to the main thread.
    return QTest::qWaitFor([&] { return handled() > before && MainQueue::waiting() == 0; });
}

QByteArrayList AgentFixture::sent()
{
    m_received += m_agent->readAll();
    QByteArrayList messages = QByteArray(m_received).replace("#####", "\n#####").split('\n');
    messages.removeAll({});
    return messages;
}

QByteArrayList AgentFixture::takeSent()
{
    AppDelegate::send(u"#####end"_s);
    (void)QTest::qWaitFor([this] { return sent().endsWith("#####end"); });
    QByteArrayList messages = sent();
    m_received.clear();
    messages.removeLast();
    return messages;
}

QStringList AgentFixture::log(const char* stream) const
{
    QFile log(m_root.filePath(u"var/lib/Halvern/vantoryAgent/logs/vantoryAgent."_s +
                              QLatin1StringView(stream)));
    (void)log.open(QIODevice::ReadOnly);
    return QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

void AgentFixture::allowShowing(const QByteArray& flag)
{
    writeFile(FilePaths::preferences(u"gateway.json"_s),
              R"({"settings":{"allow_message_to_devices":true,"allow_chat_to_devices":true,)"
              R"("require_user_acknowledgement_for_devices":true,)"
              R"("allow_file_transfer_to_devices":true,"allow_devices_to_be_viewed":true,)"
              R"("show_agent_ui_on_connection":)" +
                  flag + "}}");
}

QString AgentFixture::sessionLists()
{
    QString text;
    for (const QList<SessionInfo>& list :
         {AppDelegate::state().sessions.all(), AppDelegate::state().connectionStatus->sessions()}) {
        text += u'[';
        for (const SessionInfo& info : list) {
            text += QString::number(info.session) + info.remoteControlUser;
        }
        text += u']';
    }
    return text;
}

bool AgentFixture::waitUntilHeard(const QWidget* window)
{
    const auto* const guard = window->findChild<InputGuard*>();
    return QTest::qWaitFor([guard] { return !guard->isOn(); });
}

bool AgentFixture::xdotool(const QString& words)
{
    const auto run = [](const QString& all) {
        QProcess process;
        process.start(u"xdotool"_s, all.split(u' '));
        (void)QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 30'000);
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
                   ? process.readAllStandardOutput()
                   : QByteArray();
    };
    // What the window manager does last of all this.
    static int desktops = 100;
    const QString number = QString::number(++desktops);
    const bool isDone =
        !run(words + u" set_num_desktops "_s + number + u" get_num_desktops"_s).isEmpty() &&
        QTest::qWaitFor([&] { return run(u"get_num_desktops"_s).trimmed() == number.toUtf8(); },
                        30'000);
    QGuiApplication::sync();
    return isDone;
}

QWidget* AgentFixture::topLevel(const char* name)
{
    QWidgetList found = QApplication::topLevelWidgets();
    found.removeIf(
        [name](const QWidget* widget) { return widget->objectName() != QLatin1StringView(name); });
    return found.value(0);
}

void AgentTest::init()
{
    m_agent = std::make_unique<AgentFixture>();
    QVERIFY(m_agent->start());
}
