#include "platform/desktop/DBusMenu.h"
#include "platform/desktop/DBusStruct.h"
#include "platform/desktop/StatusItem.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QMenu>
#include <QProcess>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>
#include <QTestEventLoop>
#include <QUuid>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s;
const QString kItem = u"org.kde.StatusNotifierItem"_s;
const QString kMenu = u"com.canonical.dbusmenu"_s;

// A watcher, with a host or without. It has a connection of its own, as another process would.
class Watcher : public QDBusVirtualObject {
public:
    explicit Watcher(bool isHostThere = false) : m_isHostThere(isHostThere)
    {
        bus.registerVirtualObject(u"/StatusNotifierWatcher"_s, this);
        bus.interface()->registerService(kWatcher, QDBusConnectionInterface::ReplaceExistingService,
                                         QDBusConnectionInterface::AllowReplacement);
    }

    ~Watcher() override { QDBusConnection::disconnectFromBus(bus.name()); }

    void setHost(bool isThere)
    {
        m_isHostThere = isThere;
        bus.send(QDBusMessage::createSignal(u"/StatusNotifierWatcher"_s, kWatcher,
                                            isThere ? u"StatusNotifierHostRegistered"_s
                                                    : u"StatusNotifierHostUnregistered"_s));
    }

    bool hasItem() const { return m_isHostThere && bus.interface()->isServiceRegistered(item); }

    QDBusMessage question(const QString& interface, const QString& method,
                          const QVariantList& arguments) const
    {
        const auto path = interface == kMenu ? u"/MenuBar"_s : u"/StatusNotifierItem"_s;
        const QString program = QDBusConnection::sessionBus().baseService();
        auto question = QDBusMessage::createMethodCall(program, path, interface, method);
        question.setArguments(arguments);
        return question;
    }

    // A host's call. This thread answers it, so it must not block here.
    QDBusMessage call(const QString& interface, const QString& method,
                      const QVariantList& arguments) const
    {
        QDBusPendingCallWatcher answer(bus.asyncCall(question(interface, method, arguments), 5000));
        QSignalSpy(&answer, &QDBusPendingCallWatcher::finished).wait(5000);
        return answer.reply();
    }

    // The menu's items, in order: their numbers and labels.
    QList<std::pair<int, QString>> items() const
    {
        const auto reply = call(kMenu, u"GetLayout"_s, {0, -1, QStringList()});
        QList<std::pair<int, QString>> items;
        for (const QVariant& child :
             qdbus_cast<DBusMenuLayout>(reply.arguments().value(1)).children) {
            const auto one = qdbus_cast<DBusMenuLayout>(child);
            items += {one.id, one.properties.value(u"label"_s).toString()};
        }
        return items;
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*bus*/) override
    {
        if (message.member() == u"RegisterStatusNotifierItem") {
            item = message.arguments().value(0).toString();
            bus.send(message.createReply());
        } else {
            isAsked = true;
            bus.send(message.createReply(QVariant::fromValue(QDBusVariant(m_isHostThere))));
        }
        return true;
    }

    bool isAsked = false; // whether a host is there
    QString item;         // the registered one
    QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QUuid::createUuid().toString());

private:
    bool m_isHostThere;
};

} // namespace

class StatusItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { MainQueue::attach(); }

    void init() { m_menu = std::make_unique<QMenu>(); }

    void cleanup()
    {
        m_item.reset();
        m_watcher.reset();
        QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(kWatcher));
    }

    // There is always one icon, wherever it has a place.
    void place_data()
    {
        // Steps: T an XEmbed tray starts, I the item, W a watcher, H a host; w, h they end; R
        // another watcher with a host takes the first one's place.
        QTest::addColumn<QByteArray>("places");
        QTest::newRow("ITWH") << "NTTH"_ba;         // program, then panel
        QTest::newRow("TWHIhH") << "NNNHTH"_ba;     // the host ends and starts again
        QTest::newRow("TWHIwWHR") << "NNNHTTHH"_ba; // the watcher restarts, then is replaced
    }

    void place()
    {
        const QByteArray steps = QTest::currentDataTag();
        QFETCH(const QByteArray, places);
        QProcess tray;
        const std::map<char, std::function<void()>> step = {
            {'T', [&] { tray.start(u"trayer"_s, QStringList()); }},
            {'I', [&] { startItem(); }},
            {'W', [&] { m_watcher = std::make_unique<Watcher>(); }},
            {'R', [&] { m_watcher = std::make_unique<Watcher>(true); }},
            {'w', [&] { m_watcher.reset(); }},
            {'H', [&] { m_watcher->setHost(true); }},
            {'h', [&] { m_watcher->setHost(false); }},
        };
        for (qsizetype i = 0; i < steps.size(); ++i) {
            step.at(steps[i])();
            if (m_item && m_watcher) {
                QTRY_VERIFY(m_watcher->isAsked);
                m_watcher->isAsked = false;
                (void)m_watcher->items(); // the item's answer comes when it has had the watcher's
            }
            QTRY_COMPARE(placeOfIcon(), places[i]);
            QCOMPARE(m_item && m_item->hasPlace(), places[i] != 'N');
            // Without it GNOME's watcher, when it starts, would take the item for another one.
            const auto name = kItem + u"-%1-1"_s.arg(QCoreApplication::applicationPid());
            const auto* const bus = QDBusConnection::sessionBus().interface();
            QTRY_COMPARE(bus->isServiceRegistered(name).value(), m_item != nullptr);
        }
        tray.kill();
        tray.waitForFinished();
    }

    // A host's menu that is not updated yet must never trigger another action.
    void theMenuIsFollowedAndItsClicksReachTheAction()
    {
        QStringList triggered;
        connect(m_menu.get(), &QMenu::triggered, this,
                [&](const QAction* action) { triggered += action->text(); });
        QAction* const first = m_menu->addAction(u"&First a_b && c\nd"_s + QChar(0xD83D));
        m_menu->addAction(u"Off"_s)->setEnabled(false);
        m_menu->addAction(u"Last"_s);
        startWithHost();
        const auto before = m_watcher->items();
        QCOMPARE(before[0].second, u"_First a__b & c d?"_s); // it was half of a pair
        auto& layout = QTestEventLoop::instance();           // left when the layout is announced
        m_watcher->bus.connect(m_watcher->item, u"/MenuBar"_s, kMenu, u"LayoutUpdated"_s, &layout,
                               SLOT(exitLoop()));
        delete first;
        m_menu->insertAction(m_menu->actions().first(), new QAction(u"New"_s, m_menu.get()));
        layout.enterLoop(5);
        QVERIFY(!layout.timeout());
        const auto after = m_watcher->items();
        QCOMPARE(after[0].second, u"New"_s);
        QVERIFY(after[0].first > before[2].first);
        QCOMPARE(after.mid(1), before.mid(1));

        const auto send = [this](int item, const QString& what) {
            m_watcher->bus.send(m_watcher->question(
                kMenu, u"Event"_s, {item, what, QVariant::fromValue(QDBusVariant(0)), 0U}));
        };
        send(after[0].first, u"hovered"_s);
        for (const int item : {before[0].first, after[1].first, after[2].first}) {
            send(item, u"clicked"_s);
        }
        QTRY_COMPARE(triggered, QStringList(u"Last"_s));
        // The click counts also when the host has ended before it takes effect.
        send(after[0].first, u"clicked"_s);
        m_watcher.reset();
        QTRY_COMPARE(triggered, (QStringList{u"Last"_s, u"New"_s}));
    }

    // What the host does: a calls Activate, c ContextMenu, o opens the menu itself, - waits until
    // it has seen the item's.
    void aClickOpensOneMenu()
    {
        m_menu->addAction(u"A"_s);
        startWithHost();
        QCursor::setPos(300, 0);
        for (const QByteArray& steps : {"c"_ba, "a"_ba, "a-o"_ba, "oa"_ba}) {
            for (const char step : steps) {
                if (step == '-') {
                    QTRY_VERIFY(m_menu->isVisible());
                } else if (step == 'o') {
                    m_watcher->bus.send(m_watcher->question(kMenu, u"AboutToShow"_s, {0}));
                } else { // at a place within the host's own window, as some tell it
                    m_watcher->call(kItem, step == 'a' ? u"Activate"_s : u"ContextMenu"_s, {0, 25});
                }
            }
            const bool isHosts = steps.contains('o');
            QTest::qWait(isHosts ? 500 : 0); // the time itself: so long the item waits for the host
            QTRY_VERIFY2(m_menu->isVisible() != isHosts && (isHosts || m_menu->x() == 300), steps);
            m_menu->hide();
        }
    }

private:
    void startItem()
    {
        const auto icon = QApplication::style()->standardIcon(QStyle::SP_ComputerIcon);
        m_item = std::make_unique<StatusItem>(u"Test"_s, icon, *m_menu);
    }

    void startWithHost()
    {
        m_watcher = std::make_unique<Watcher>(true);
        startItem();
        QTRY_COMPARE(placeOfIcon(), 'H');
    }

    // H: in the host, T: in the tray, 2: in both, N: in neither.
    char placeOfIcon() const
    {
        const bool isInHost = m_watcher && m_watcher->hasItem();
        const auto windows = QApplication::topLevelWidgets();
        const bool isInTray = std::ranges::any_of(windows, [](QWidget* window) {
            return window->objectName() == u"TrayIcon" && window->windowHandle()->isExposed();
        });
        return isInHost ? (isInTray ? '2' : 'H') : (isInTray ? 'T' : 'N');
    }

    std::unique_ptr<Watcher> m_watcher;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<StatusItem> m_item;
};

QTEST_MAIN(StatusItemTest)
#include "tst_statusitem.moc"
