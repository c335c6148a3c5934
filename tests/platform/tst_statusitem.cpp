#include "StatusBars.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/StatusNotifierItem.h"
#include "platform/threads/MainQueue.h"

#include <QAction>
#include <QMenu>
#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QTestEventLoop>

#include <functional>
#include <map>
#include <tuple>

#include <pthread.h>

using namespace Qt::StringLiterals;
using namespace StatusBars;

namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

QIcon picture(int size, const QColor& colour)
{
    QPixmap pixmap(size, size);
    pixmap.fill(colour);
    return pixmap;
}

QString labelOf(const DBusMenuLayout& item)
{
    return item.properties.value(u"label"_s).toString();
}

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
        m_menu.reset();
        QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(kWatcher));
    }

    void place_data()
    {
        // Steps: T a tray starts, I the item, W a watcher, H a host; w, h they end; R another
        // watcher with a host takes the first one's place; S a watcher starts that answers nothing,
        // A it answers the rest; i the item starts without a thread; X it is hidden, and gets
        // another icon; t, T the tray restarts.
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<QByteArray>("places");
        for (const auto& [name, steps, places] : {
                 std::tuple("program, then panel", "ITWH", "NTTH"),
                 {"host ends and starts again", "TWHIhH", "NNNHTH"},
                 {"watcher restarts, then is replaced", "TWHIwWHR", "NNNHTTHH"},
                 {"watcher answers late", "TSIHA", "NNNNH"},
                 {"watcher hangs under the tray's icon", "TISw", "NTTT"},
                 {"hidden in a tray, which restarts", "TIXtT", "NTNNN"},
                 {"the system has no thread left", "TRi", "NNH"},
             }) {
            QTest::newRow(name) << QByteArray(steps) << QByteArray(places);
        }
    }

    void place()
    {
        QFETCH(const QByteArray, steps);
        QFETCH(const QByteArray, places);
        std::unique_ptr<Tray> tray;
        const std::map<char, std::function<void()>> step = {
            {'T', [&] { tray = std::make_unique<Tray>(); }},
            {'t', [&] { tray.reset(); }},
            {'I', [&] { startItem(); }},
            {'i', [&] { startItemWithoutThread(); }},
            {'X',
             [&] {
                 m_item->hide();
                 m_item->setIcon(picture(48, Qt::red));
             }},
            {'W', [&] { m_watcher = std::make_unique<Watcher>(); }},
            {'R', [&] { m_watcher = std::make_unique<Watcher>(true); }},
            {'S', [&] { m_watcher = std::make_unique<Watcher>(false, 0); }},
            {'A', [&] { m_watcher->answerRest(); }},
            {'w', [&] { m_watcher.reset(); }},
            {'H', [&] { m_watcher->setHost(true); }},
            {'h', [&] { m_watcher->setHost(false); }},
        };
        for (qsizetype i = 0; i < steps.size(); ++i) {
            step.at(steps[i])();
            // Time for a change that must not come; a blocked main thread is noticed, too.
            QElapsedTimer clock;
            clock.start();
            QTest::qWait(150);
            QVERIFY2(clock.elapsed() < 5000, "the main thread was blocked");
            QTRY_COMPARE(placeOfIcon(), places[i]);
            QCOMPARE(m_item && m_item->hasPlace(), places[i] != 'N');
        }
    }

    void theHostGetsTheWholeItem()
    {
        m_menu->addAction(picture(16, Qt::blue), u"&Open a_b && c\nd"_s)->setEnabled(false);
        m_menu->addAction(u"a"_s + QChar(0xD83D)); // half of a pair
        m_menu->addSeparator();
        m_menu->addAction(u"Hidden"_s)->setVisible(false);
        startWithHost();
        m_item->setIcon(picture(48, QColor(0x11, 0x22, 0x33, 0x80)));
        const auto items = m_watcher->items();
        const auto value = [&](qsizetype item, const QString& name) {
            return items.value(item).properties.value(name);
        };
        QCOMPARE(value(0, u"label"_s), QVariant(u"_Open a__b & c d"_s));
        QCOMPARE(value(0, u"enabled"_s), QVariant(false));
        QVERIFY(!value(0, u"icon-data"_s).toByteArray().isEmpty());
        QCOMPARE(value(1, u"label"_s), QVariant(u"a?"_s));
        QCOMPARE(value(2, u"type"_s), QVariant(u"separator"_s));
        QCOMPARE(value(3, u"visible"_s), QVariant(false));
        const auto sent =
            qdbus_cast<QList<StatusNotifierPicture>>(m_watcher->itemProperty(u"IconPixmap"_s));
        QVERIFY(sent.size() == 3 && sent[0].argb.startsWith('\x80')); // alpha comes first
    }

    // A host's menu that is not updated yet must never trigger another action.
    void changesAreAnnouncedAndNumbersNotReused()
    {
        QAction* const first = m_menu->addAction(u"First"_s);
        m_menu->addAction(u"Second"_s);
        startWithHost();
        const auto before = m_watcher->items();
        auto& layout = QTestEventLoop::instance(); // left when the layout is announced
        auto bus = m_watcher->bus();
        bus.connect(m_watcher->item(), u"/MenuBar"_s, kMenu, u"LayoutUpdated"_s, &layout,
                    SLOT(exitLoop()));
        first->setText(u"Changed"_s);
        layout.enterLoop(5);
        QCOMPARE(labelOf(m_watcher->items()[0]), u"Changed"_s);
        delete first;
        m_menu->insertAction(m_menu->actions().first(), new QAction(u"New"_s, m_menu.get()));
        layout.enterLoop(5);
        QVERIFY(!layout.timeout());
        const auto after = m_watcher->items();
        QCOMPARE(labelOf(after[0]), u"New"_s);
        QVERIFY(after[0].id != before[0].id && after[0].id != before[1].id);
        QCOMPARE(after[1].id, before[1].id);
    }

    void clicksReachTheAction()
    {
        QStringList triggered;
        connect(m_menu.get(), &QMenu::triggered, this,
                [&](const QAction* action) { triggered += action->text(); });
        for (const auto& text : {u"A"_s, u"Off"_s, u"C"_s}) {
            m_menu->addAction(text)->setEnabled(text != u"Off");
        }
        startWithHost();
        const auto items = m_watcher->items();
        const auto event = [&](qsizetype item, const QString& what) {
            return QVariantList{items[item].id, what, QVariant::fromValue(QDBusVariant(0)), 0U};
        };
        m_watcher->call(kMenu, u"Event"_s, event(0, u"hovered"_s));
        m_watcher->call(kMenu, u"Event"_s, event(1, u"clicked"_s));
        m_watcher->call(kMenu, u"Event"_s, event(2, u"clicked"_s));
        QTRY_COMPARE(triggered, QStringList(u"C"_s));

        // The click counts also when the host has ended before it takes effect.
        auto click =
            QDBusMessage::createMethodCall(m_watcher->item(), u"/MenuBar"_s, kMenu, u"Event"_s);
        click.setArguments(event(0, u"clicked"_s));
        m_watcher->bus().send(click);
        m_watcher.reset();
        QTRY_COMPARE(triggered, (QStringList{u"C"_s, u"A"_s}));
    }

    void aClickOpensOneMenu_data()
    {
        // What the host does: a calls Activate, c ContextMenu, m SecondaryActivate, o opens the
        // menu itself, - waits until it has seen the item's.
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<bool>("opensOurs");
        QTest::addRow("a host without a menu") << "c"_ba << true;
        QTest::addRow("a host that does not") << "a"_ba << true;
        QTest::addRow("a slow host") << "a-o"_ba << false;
        QTest::addRow("two clicks, of which the first opens the host's menu") << "oa"_ba << false;
        QTest::addRow("the middle button") << "m"_ba << false;
    }

    void aClickOpensOneMenu()
    {
        QFETCH(const QByteArray, steps);
        m_menu->addAction(u"A"_s);
        startWithHost();
        QCursor::setPos(300, 0);
        // A place within the host's own window, as some tell it.
        const QVariantList place = {0, 25};
        const std::map<char, std::function<void()>> step = {
            {'a',
             [&] {
                 QCOMPARE(m_watcher->call(kItem, u"Activate"_s, place).errorName(),
                          u"org.freedesktop.DBus.Error.UnknownMethod"_s);
             }},
            {'c', [&] { m_watcher->call(kItem, u"ContextMenu"_s, place); }},
            {'m', [&] { m_watcher->call(kItem, u"SecondaryActivate"_s, place); }},
            {'o', [&] { m_watcher->call(kMenu, u"AboutToShow"_s, {0}); }},
            {'-', [&] { QTRY_VERIFY(m_menu->isVisible()); }},
        };
        for (const char name : steps) {
            step.at(name)();
        }
        QFETCH(const bool, opensOurs);
        if (opensOurs) {
            QTRY_VERIFY(m_menu->isVisible());
        } else {
            QTest::qWait(500);
        }
        QCOMPARE(m_menu->isVisible(), opensOurs);
        QVERIFY(!m_menu->isVisible() || m_menu->x() == 300);
    }

    void strangeCallsAreAnswered()
    {
        const QVariant noData = QVariant::fromValue(QDBusVariant(0));
        const QVariant unknown = QVariant::fromValue(QList<int>(100000, 77777));
        const std::tuple<QString, QString, QVariantList> calls[] = {
            {kMenu, u"GetLayout"_s, {kLeast, kMost, QStringList()}},
            {kMenu, u"GetLayout"_s, {u"0"_s, 1, QStringList()}},
            {kMenu, u"GetGroupProperties"_s, {unknown, QStringList()}},
            {kMenu, u"Event"_s, {kMost, u"clicked"_s, noData, 0U}},
            {kItem, u"deleteLater"_s, {}},
            {kItem, u"ContextMenu"_s, {kLeast, kMost}},
        };
        m_menu->addAction(u"A"_s);
        startWithHost();
        for (const auto& [interface, method, arguments] : calls) {
            const auto answer = m_watcher->call(interface, method, arguments);
            QVERIFY2(answer.errorName() != u"org.freedesktop.DBus.Error.NoReply",
                     qPrintable(method));
            QCOMPARE(m_watcher->items().size(), 1);
        }
        QVERIFY(qApp->primaryScreen()->geometry().contains(m_menu->geometry()));
    }

private:
    void startItem()
    {
        m_item = std::make_unique<StatusItem>(u"test"_s, u"Test"_s);
        m_item->setIcon(picture(22, Qt::red));
        m_item->setMenu(m_menu.get());
    }

    // No stack is as large as this.
    void startItemWithoutThread()
    {
        pthread_attr_t usual;
        pthread_attr_t impossible;
        ::pthread_getattr_default_np(&usual);
        ::pthread_attr_init(&impossible);
        ::pthread_attr_setstacksize(&impossible, std::size_t(1) << 47);
        QCOMPARE(::pthread_setattr_default_np(&impossible), 0);
        startItem();
        ::pthread_setattr_default_np(&usual);
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
        const bool isInHost = m_watcher && !m_watcher->item().isEmpty();
        const bool isInTray = Tray::icon() != nullptr;
        return isInHost ? (isInTray ? '2' : 'H') : (isInTray ? 'T' : 'N');
    }

    std::unique_ptr<Watcher> m_watcher;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<StatusItem> m_item;
};

QTEST_MAIN(StatusItemTest)
#include "tst_statusitem.moc"
