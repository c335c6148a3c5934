#include "StatusBars.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/StatusNotifierItem.h"
#include "platform/threads/MainQueue.h"

#include <QAction>
#include <QDBusAbstractInterface>
#include <QMenu>
#include <QPixmap>
#include <QScreen>
#include <QStandardPaths>
#include <QTest>

#include <functional>
#include <map>

#include <pthread.h>

using namespace Qt::StringLiterals;
using namespace StatusBars;

namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

// What a host hears of the menu.
class MenuSignals : public QDBusAbstractInterface {
    Q_OBJECT

public:
    explicit MenuSignals(const Watcher& watcher)
        : QDBusAbstractInterface(watcher.item(), u"/MenuBar"_s, "com.canonical.dbusmenu",
                                 watcher.bus(), nullptr)
    {}

Q_SIGNALS:
    void LayoutUpdated(uint revision, int parent);
};

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
    void initTestCase()
    {
        MainQueue::attach();
        if (qApp->platformName() != u"xcb" || !QDBusConnection::sessionBus().isConnected()) {
            QSKIP("needs an X server and a session bus");
        }
        for (const auto& program : {u"trayer"_s, u"xdotool"_s}) {
            if (QStandardPaths::findExecutable(program).isEmpty()) {
                QSKIP("needs trayer and xdotool");
            }
        }
    }

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
        // Steps: I the program starts, W a watcher starts, w it ends, H a host comes, h it goes,
        // R another watcher with a host takes its place, S a watcher starts that answers nothing,
        // F one that answers once, A it answers after all.
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<QByteArray>("places");
        const auto row = [](const char* name, const char* steps, const char* places) {
            QTest::newRow(name) << QByteArray(steps) << QByteArray(places);
        };
        // First of all: Qt's own question to the watcher is asked once in a process.
        row("watcher hangs after one answer", "FIw", "NNT");
        row("program, then panel", "IWH", "TTH");
        row("host goes and comes back", "WHIhH", "NNHTH");
        row("watcher restarts, then is replaced", "WHIwWHR", "NNHTTHH");
        row("watcher answers late", "SIHA", "NNNH");
        row("watcher hangs", "SIw", "NNT");
        row("watcher hangs under the tray's icon", "ISw", "TTT");
    }

    void place()
    {
        QFETCH(const QByteArray, steps);
        QFETCH(const QByteArray, places);
        const std::map<char, std::function<void()>> step = {
            {'I', [&] { startItem(); }},
            {'W', [&] { m_watcher = std::make_unique<Watcher>(); }},
            {'R', [&] { m_watcher = std::make_unique<Watcher>(true); }},
            {'S', [&] { m_watcher = std::make_unique<Watcher>(false, 0); }},
            {'F', [&] { m_watcher = std::make_unique<Watcher>(false, 1); }},
            {'A', [&] { m_watcher->answerAtLast(); }},
            {'w', [&] { m_watcher.reset(); }},
            {'H', [&] { m_watcher->setHost(true); }},
            {'h', [&] { m_watcher->setHost(false); }},
        };
        const Tray tray("bottom");
        for (qsizetype i = 0; i < steps.size(); ++i) {
            step.at(steps[i])();
            // What must not change any more has time to; and a frozen thread is noticed.
            QElapsedTimer clock;
            clock.start();
            QTest::qWait(150);
            QVERIFY2(clock.elapsed() < 1000, "the main thread was blocked");
            QTRY_COMPARE(placeOfIcon(), places[i]);
        }
    }

    void theHostGetsTheWholeItem()
    {
        const std::map<QString, QString> labels = {
            {u"&Open A && B"_s, u"_Open A & B"_s},
            {u"a_b &_c"_s, u"a__b __c"_s},
            {u"a\tb\nc\u0000d\u2028e"_s, u"a b c d e"_s},
            {u"a"_s + QChar(0xD83D), u"a?"_s}, // half of a pair
        };
        for (const auto& [text, label] : labels) {
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
        for (const auto& [text, label] : labels) {
            QCOMPARE(labelOf(*item), label);
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

    // A host's menu that is not up to date must never meet another action.
    void changesAreToldAndNumbersNotGivenTwice()
    {
        QAction* const first = m_menu->addAction(u"First"_s);
        m_menu->addAction(u"Second"_s);
        startWithHost();
        const auto before = m_watcher->items();
        const MenuSignals heard(*m_watcher);
        const QSignalSpy layouts(&heard, &MenuSignals::LayoutUpdated);

        first->setText(u"Changed"_s);
        QTRY_COMPARE(layouts.size(), 1);
        QCOMPARE(labelOf(m_watcher->items()[0]), u"Changed"_s);
        delete first;
        m_menu->insertAction(m_menu->actions().first(), new QAction(u"New"_s, m_menu.get()));
        QTRY_COMPARE(layouts.size(), 2);
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

        // The click counts also when the host is gone before it takes effect.
        auto click =
            QDBusMessage::createMethodCall(m_watcher->item(), u"/MenuBar"_s, kMenu, u"Event"_s);
        click.setArguments(event(0, u"clicked"_s));
        m_watcher->bus().send(click);
        m_watcher.reset();
        QTRY_COMPARE(triggered, (QStringList{u"C"_s, u"A"_s}));
    }

    void strangeCallsAreAnsweredAndHarmNothing()
    {
        const QVariant hollow = QVariant::fromValue(QDBusVariant(0));
        const QVariant unknown = QVariant::fromValue(QList<int>(100000, 77777));
        const std::tuple<QString, QString, QVariantList> calls[] = {
            {kMenu, u"GetLayout"_s, {0, kMost, QStringList()}},
            {kMenu, u"GetLayout"_s, {kLeast, 1, QStringList()}},
            {kMenu, u"GetLayout"_s, {u"0"_s, 1, QStringList()}},
            {kMenu, u"GetGroupProperties"_s, {unknown, QStringList()}},
            {kMenu, u"Event"_s, {kMost, u"clicked"_s, hollow, 0U}},
            {kMenu, u"EventGroup"_s, {unknown}},
            {kItem, u"deleteLater"_s, {}},
            {kItem, u"Activate"_s, {kLeast, kMost}},
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

    // A system that has no thread left: no stack is as large as this.
    void comesUpWithoutAThread()
    {
        pthread_attr_t usual;
        pthread_attr_t impossible;
        QCOMPARE(::pthread_getattr_default_np(&usual), 0);
        ::pthread_attr_init(&impossible);
        ::pthread_attr_setstacksize(&impossible, std::size_t(1) << 47);
        m_watcher = std::make_unique<Watcher>(true);
        QCOMPARE(::pthread_setattr_default_np(&impossible), 0);
        startItem();
        ::pthread_setattr_default_np(&usual);
        QTRY_COMPARE(placeOfIcon(), 'H');
    }

    void theTraysIconOpensTheMenu()
    {
        m_menu->addAction(u"A rather long entry of the menu"_s);
        startItem();
        const Tray tray("bottom"); // comes after the program
        QTRY_COMPARE(placeOfIcon(), 'T');
        const QPoint icon = Tray::icon()->mapToGlobal(QPoint()) + Tray::icon()->rect().center();
        for (const auto& button : {u"1"_s, u"3"_s}) {
            QProcess::execute(u"xdotool"_s, {u"mousemove"_s, QString::number(icon.x()),
                                             QString::number(icon.y()), u"click"_s, button});
            QTRY_VERIFY(m_menu->isVisible());
            QVERIFY(qApp->primaryScreen()->geometry().contains(m_menu->geometry()));
            m_menu->hide();
        }
    }

private:
    void startItem()
    {
        m_item = std::make_unique<StatusItem>(u"test"_s, u"Test"_s);
        m_item->setIcon(picture(22, Qt::red));
        m_item->setMenu(m_menu.get());
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
