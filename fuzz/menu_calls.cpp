// What any program on the session bus may ask of the status bar's menu, through a real connection.
#include "platform/desktop/DBusMenu.h"
#include "platform/desktop/DBusStruct.h"
#include "support/Fuzzing.h"
#include "support/Offscreen.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServer>
#include <QEventLoop>
#include <QMenu>
#include <QPixmap>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostSteps = 16;

// A program that has no display, and the two ends of a connection to it.
class Program {
public:
    Program()
    {
        m_server.setAnonymousAuthenticationAllowed(true);
        QObject::connect(&m_server, &QDBusServer::newConnection, &m_server,
                         [this](const QDBusConnection& agents) {
                             m_agents = std::make_unique<QDBusConnection>(agents);
                         });
        m_hosts = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToPeer(m_server.address(), u"host"_s));
        while (!m_agents) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    [[nodiscard]] const QDBusConnection& agents() const { return *m_agents; }

    // The answer, which may be an error.
    [[nodiscard]] QDBusMessage ask(const QDBusMessage& question) const
    {
        const QDBusPendingCallWatcher call(m_hosts->asyncCall(question, 2000));
        QEventLoop loop;
        QObject::connect(&call, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        loop.exec();
        require(call.error().type() != QDBusError::NoReply, "each call is answered");
        return call.reply();
    }

private:
    QApplication& m_application = offscreenApplication();
    QDBusServer m_server{u"unix:tmpdir=/tmp"_s};
    std::unique_ptr<QDBusConnection> m_agents;
    std::unique_ptr<QDBusConnection> m_hosts;
};

class Session {
public:
    Session(const Program& program, Input& input)
        : m_program(program), m_input(input), m_exported(program.agents())
    {
        m_exported.setMenu(&m_menu);
    }

    void step()
    {
        switch (m_input.below(9)) {
        case 0:
            addAction();
            break;
        case 1:
            changeAction();
            break;
        case 2:
            click();
            break;
        case 3:
            askLayout();
            break;
        case 4:
            ask(u"GetProperty"_s, {id(), word()});
            break;
        case 5:
            ask(u"GetGroupProperties"_s, {ids(), words()});
            break;
        case 6:
            ask(u"AboutToShowGroup"_s, {ids()});
            break;
        case 7:
            ask(u"EventGroup"_s, {QVariant::fromValue(QList<DBusMenuEvent>{event(), event()})});
            break;
        default:
            ask(word(), QVariantList{value(), value(), value(), value()}.first(m_input.below(5)));
        }
    }

private:
    QDBusMessage ask(const QString& method, const QVariantList& arguments)
    {
        // Qt itself sends no call with an invalid name.
        const bool isName = !method.isEmpty() && method.front().isLetter();
        auto question =
            QDBusMessage::createMethodCall(QString(), DBusMenu::path(), u"com.canonical.dbusmenu"_s,
                                           isName ? method : u"AboutToShow"_s);
        question.setArguments(arguments);
        return m_program.ask(question);
    }

    void addAction()
    {
        QAction* const action = m_menu.addAction(m_input.text());
        action->setSeparator(m_input.below(4) == 0);
        action->setShortcut(QKeySequence(m_input.any()));
        action->setIcon(m_input.below(4) == 0 ? QIcon(QPixmap(16, 16)) : QIcon());
        QObject::connect(action, &QAction::triggered, action, [this, action] {
            require(action->isEnabled() && action->isVisible(), "what is triggered can be");
            ++m_clicks;
        });
    }

    void changeAction()
    {
        const auto actions = m_menu.actions();
        QAction* const action = actions.value(m_input.below(8));
        const int change = m_input.below(4);
        if (action == nullptr || change == 0) {
            delete action;
        } else {
            action->setVisible(change != 1);
            action->setEnabled(change != 2);
            action->setText(m_input.text());
        }
    }

    void askLayout()
    {
        const int parent = m_input.below(2) == 0 ? 0 : id();
        const int depth = m_input.below(4) - 1;
        const QDBusMessage answer = ask(u"GetLayout"_s, {parent, depth, words()});
        const auto layout = qdbus_cast<DBusMenuLayout>(answer.arguments().value(1));
        const qsizetype children = parent == 0 && depth != 0 ? m_menu.actions().size() : 0;
        require(layout.children.size() == children, "the layout has each action once");
        for (const QVariant& child : layout.children) {
            m_known.append(qdbus_cast<DBusMenuLayout>(child).id);
        }
    }

    // The right action or none, and at once.
    void click()
    {
        const int before = m_clicks;
        ask(u"Event"_s, {id(), u"clicked"_s, QVariant::fromValue(QDBusVariant(0)), 0U});
        QCoreApplication::processEvents();
        require(m_clicks <= before + 1, "a click triggers one action");
    }

    // Of an item that a layout has named, or any other number.
    int id()
    {
        const int choice = m_input.below(256);
        return choice < 192 && !m_known.isEmpty() ? m_known.at(choice % m_known.size())
                                                  : m_input.any();
    }

    QVariant ids() { return QVariant::fromValue(QList<int>{id(), id(), id()}); }

    DBusMenuEvent event() { return {id(), word(), QDBusVariant(id()), 0}; }

    QString word()
    {
        static const QStringList known = {
            u"clicked"_s,     u"opened"_s,  u"label"_s,       u"icon-data"_s,
            u"shortcut"_s,    u"enabled"_s, u"GetLayout"_s,   u"GetGroupProperties"_s,
            u"AboutToShow"_s, u"Event"_s,   u"deleteLater"_s, u"setMenu"_s,
        };
        const int choice = m_input.below(16);
        return choice < known.size() ? known.at(choice) : m_input.text();
    }

    QStringList words() { return QStringList{word(), word()}.first(m_input.below(3)); }

    QVariant value()
    {
        const QVariant kinds[] = {
            id(),    word(), QVariant::fromValue(QDBusVariant(id())), QVariantMap{{word(), id()}},
            words(), ids()};
        return kinds[m_input.below(6)];
    }

    const Program& m_program;
    Input& m_input;
    QMenu m_menu;
    DBusMenu m_exported;
    QList<int> m_known;
    int m_clicks = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Program program;
    Input input(viewOf(data, size));
    Session session(program, input);
    for (int i = 0; i < kMostSteps && !input.isEmpty(); ++i) {
        session.step();
    }
    return 0;
}
