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
        QTest::addRow("program, then panel") << "ITWH"_ba
                                             << "NTTH"_ba;
        QTest::addRow("host ends and starts again") << "TWHIhH"_ba
                                                    << "NNNHTH"_ba;
        QTest::addRow("watcher restarts, then is replaced") << "TWHIwWHR"_ba
                                                            << "NNNHTTHH"_ba;
        QTest::addRow("tray restarts") << "TItT"_ba
                                       << "NTNT"_ba;
        QTest::addRow("watcher answers late") << "TSIHA"_ba
                                              << "NNNNH"_ba;
        QTest::addRow("watcher hangs") << "TSIw"_ba
                                       << "NNNT"_ba;
        QTest::addRow("watcher hangs under the tray's icon") << "TISw"_ba
                                                             << "NTTT"_ba;
        QTest::addRow("hidden under a host, then a tray") << "WHIXhT"_ba
                                                          << "NNHNNN"_ba;
        QTest::addRow("hidden in a tray, which restarts") << "TIXtT"_ba
                                                          << "NTNNN"_ba;
        QTest::addRow("the system has no thread left") << "TRi"_ba
                                                       << "NNH"_ba;
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
            QVERIFY2(clock.elapsed() < 1000, "the main thread was blocked");
            QTRY_COMPARE(placeOfIcon(), places[i]);
            QCOMPARE(m_item && m_item->hasPlace(), places[i] != 'N');
        }
    }

    // polybar's has 16 pixels.
    void aTrayMayGiveLessRoom()
    {
        const Tray tray;
        startItem();
        QTRY_VERIFY(Tray::icon() != nullptr);
        Tray::icon()->resize(16, 16);
        QCOMPARE(Tray::icon()->size(), QSize(16, 16));
    }

    void theHostGetsTheWholeItem()
    {
        // The text, and what is drawn and what is spoken of it.
        const std::map<QString, std::pair<QString, QString>> labels = {
            {u"&Open A && B"_s, {u"_Open A & B"_s, u"Open A & B"_s}},
            {u"a_b &_c"_s, {u"a__b __c"_s, u"a_b _c"_s}},
            {u"a\tb\nc\u0000d\u2028e"_s, {u"a b c d e"_s, u"a b c d e"_s}},
            {u"a"_s + QChar(0xD83D), {u"a?"_s, u"a?"_s}}, // half of a pair
        };
        for (const auto& [text, shown] : labels) {
            m_menu->addAction(picture(16, Qt::blue), text)->setEnabled(false);
        }
        m_menu->addSeparator();
        m_menu->addAction(u"Hidden"_s)->setVisible(false);
        startWithHost();
        m_item->setIcon(picture(48, QColor(0x11, 0x22, 0x33, 0x80)));
        m_item->setToolTip(u"<b>1 & 2</b>"_s);

        const auto items = m_watcher->items();
        QCOMPARE(items.size(), 6);
        auto item = items.begin();
        for (const auto& [text, shown] : labels) {
            QCOMPARE(labelOf(*item), shown.first);
            QCOMPARE(item->properties.value(u"accessible-desc"_s).toString(), shown.second);
            QCOMPARE(item->properties.value(u"enabled"_s), QVariant(false));
            QVERIFY(!item++->properties.value(u"icon-data"_s).toByteArray().isEmpty());
        }
        QCOMPARE(items[4].properties.value(u"type"_s), QVariant(u"separator"_s));
        QCOMPARE(items[5].properties.value(u"visible"_s), QVariant(false));

        QList<QByteArray> firstPixels;
        for (const auto& sent :
             qdbus_cast<QList<StatusNotifierPicture>>(m_watcher->itemProperty(u"IconPixmap"_s))) {
            QCOMPARE(sent.argb.size(), sent.width * sent.height * 4);
            firstPixels += sent.argb.first(1);
        }
        QCOMPARE(firstPixels, QList<QByteArray>(3, "\x80")); // alpha comes first
        const auto toolTip = m_watcher->itemProperty(u"ToolTip"_s);
        QCOMPARE(qdbus_cast<StatusNotifierToolTip>(toolTip).title, u"<b>1 & 2</b>"_s);
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
        QTest::addRow("a host that opens its menu when there is no other") << "ao"_ba << false;
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
            {kMenu, u"GetLayout"_s, {0, kMost, QStringList()}},
            {kMenu, u"GetLayout"_s, {kLeast, 1, QStringList()}},
            {kMenu, u"GetLayout"_s, {u"0"_s, 1, QStringList()}},
            {kMenu, u"GetGroupProperties"_s, {unknown, QStringList()}},
            {kMenu, u"Event"_s, {kMost, u"clicked"_s, noData, 0U}},
            {kMenu, u"EventGroup"_s, {unknown}},
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
