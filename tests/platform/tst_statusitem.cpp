#include "StatusBars.h"

#include "platform/DBusMenu.h"
#include "platform/MainQueue.h"
#include "platform/StatusItem.h"
#include "platform/StatusNotifierItem.h"

#include <functional>
#include <limits>
#include <map>

#include <QAction>
#include <QApplication>
#include <QDBusAbstractInterface>
#include <QDBusMessage>
#include <QMenu>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QWidget>

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
    void ItemsPropertiesUpdated(const QList<DBusMenuItem>& updated,
                                const QList<DBusMenuItemKeys>& removed);
};

QIcon picture(int size, const QColor& colour)
{
    QPixmap pixmap(size, size);
    pixmap.fill(colour);
    return pixmap;
}

} // namespace

class StatusItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void place_data();
    void place();
    void labels();
    void menuTravels();
    void changesAreTold();
    void clicksReachTheAction();
    void iconAndToolTipTravel();
    void strangeCalls_data();
    void strangeCalls();
    void tray();

private:
    void startItem();
    void startWithHost();
    char placeOfIcon() const;

    std::unique_ptr<Watcher> m_watcher;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<StatusItem> m_item;
};

void StatusItemTest::initTestCase()
{
    MainQueue::attach();
    if (QGuiApplication::platformName() != u"xcb" || !QDBusConnection::sessionBus().isConnected()) {
        QSKIP("needs an X server and a session bus");
    }
    for (const auto* const program : {"trayer", "xdotool"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty()) {
            QSKIP("needs trayer and xdotool");
        }
    }
}

void StatusItemTest::init()
{
    m_menu = std::make_unique<QMenu>();
}

void StatusItemTest::cleanup()
{
    m_item.reset();
    m_watcher.reset();
    m_menu.reset();
    QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(kWatcher));
}

void StatusItemTest::startItem()
{
    m_item = std::make_unique<StatusItem>(u"test"_s, u"Test"_s);
    m_item->setIcon(picture(22, Qt::red));
    m_item->setMenu(m_menu.get());
}

void StatusItemTest::startWithHost()
{
    m_watcher = std::make_unique<Watcher>(true);
    startItem();
    QTRY_COMPARE(placeOfIcon(), 'H');
}

// H: in the host, T: in the tray, 2: in both, N: in neither.
char StatusItemTest::placeOfIcon() const
{
    const bool isInHost = m_watcher && !m_watcher->item().isEmpty();
    const bool isInTray = Tray::icon() != nullptr;
    return isInHost ? (isInTray ? '2' : 'H') : (isInTray ? 'T' : 'N');
}

void StatusItemTest::place_data()
{
    // Steps: I the program starts, W a watcher starts, w it ends, H a host comes, h it goes,
    // R another watcher with a host takes its place, S a watcher starts that answers nothing, F one
    // that answers once, A it answers after all.
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<QByteArray>("places");
    const auto row = [](const char* name, const char* steps, const char* places) {
        QTest::newRow(name) << QByteArray(steps) << QByteArray(places);
    };
    // First of all: Qt's own question to the watcher is asked once in a process.
    row("watcher hangs after one answer", "FIw", "NNT");
    row("XEmbed tray only", "I", "T");
    row("panel, then program", "WHI", "NNH");
    row("program, then panel", "IWH", "TTH");
    row("host goes and comes back", "WHIhH", "NNHTH");
    row("watcher restarts", "WHIwWH", "NNHTTH");
    row("watcher is replaced", "WHIR", "NNHH");
    row("watcher answers late", "SIHA", "NNNH");
    row("watcher hangs", "SIw", "NNT");
    row("watcher hangs under the tray's icon", "ISw", "TTT");
}

void StatusItemTest::place()
{
    QFETCH(QByteArray, steps);
    QFETCH(QByteArray, places);
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

void StatusItemTest::labels()
{
    const QList<std::pair<QString, QString>> texts = {
        {u"Über uns"_s, u"Über uns"_s},
        {u"A && B"_s, u"A & B"_s},
        {u"&Open &All"_s, u"_Open All"_s},
        {u"&&&x"_s, u"&_x"_s},
        {u"x&"_s, u"x"_s},
        {u"a_b &_c"_s, u"a__b __c"_s},
        {u"a\tb\nc\u0000d\u2028e"_s, u"a b c d e"_s},
        {u"a"_s + QChar(0xD83D), u"a?"_s}, // half of a pair
    };
    for (const auto& [text, label] : texts) {
        m_menu->addAction(text);
    }
    startWithHost();
    const auto items = m_watcher->items();
    QCOMPARE(items.size(), texts.size());
    for (qsizetype i = 0; i < texts.size(); ++i) {
        QCOMPARE(items[i].properties.value(u"label"_s).toString(), texts[i].second);
    }
}

void StatusItemTest::menuTravels()
{
    QAction* const settings = m_menu->addAction(picture(16, Qt::blue), u"Settings"_s);
    settings->setShortcut(QKeySequence(u"Ctrl+Shift+S, Alt++"_s));
    m_menu->addSeparator();
    m_menu->addAction(u"Off"_s)->setEnabled(false);
    m_menu->addAction(u"Hidden"_s)->setVisible(false);
    startWithHost();

    const auto items = m_watcher->items();
    QCOMPARE(items.size(), 4);
    auto first = items[0].properties;
    const auto png = QImage::fromData(first.take(u"icon-data"_s).toByteArray(), "PNG");
    QCOMPARE(png.size(), QSize(16, 16) * qApp->devicePixelRatio());
    QCOMPARE(png.pixelColor(8, 8), QColor(Qt::blue));
    const QList<QStringList> presses = {{u"Control"_s, u"Shift"_s, u"s"_s}, {u"Alt"_s, u"plus"_s}};
    QCOMPARE(qdbus_cast<QList<QStringList>>(first.take(u"shortcut"_s)), presses);
    QCOMPARE(first, (QVariantMap{
                        {u"label"_s, u"Settings"_s}, {u"enabled"_s, true}, {u"visible"_s, true}}));
    QCOMPARE(items[1].properties, (QVariantMap{{u"type"_s, u"separator"_s}, {u"visible"_s, true}}));
    QCOMPARE(items[2].properties.value(u"enabled"_s), QVariant(false));
    QCOMPARE(items[3].properties.value(u"visible"_s), QVariant(false));

    const auto some = m_watcher->callMenu(
        u"GetGroupProperties"_s, {QVariant::fromValue(QList<int>{items[2].id, items[2].id, 99999}),
                                  QStringList{u"label"_s}});
    QCOMPARE(some.signature(), u"a(ia{sv})"_s);
    const auto off = qdbus_cast<QList<DBusMenuItem>>(some.arguments().at(0));
    QCOMPARE(off.size(), 1);
    QCOMPARE(off[0].properties, (QVariantMap{{u"label"_s, u"Off"_s}}));
}

void StatusItemTest::changesAreTold()
{
    QAction* const first = m_menu->addAction(picture(16, Qt::blue), u"First"_s);
    m_menu->addAction(u"Second"_s);
    startWithHost();
    const auto before = m_watcher->items();
    const uint revision = m_watcher->revision;
    const MenuSignals heard(*m_watcher);
    QSignalSpy layouts(&heard, &MenuSignals::LayoutUpdated);
    QSignalSpy properties(&heard, &MenuSignals::ItemsPropertiesUpdated);

    first->setText(u"Changed"_s);
    first->setIcon(QIcon());
    QTRY_COMPARE(layouts.size(), 1); // both in one
    QVERIFY(layouts[0][0].toUInt() > revision);
    QCOMPARE(properties.size(), 1);
    const auto updated = qvariant_cast<QList<DBusMenuItem>>(properties[0][0]);
    const auto removed = qvariant_cast<QList<DBusMenuItemKeys>>(properties[0][1]);
    QCOMPARE(updated[0].id, before[0].id);
    QCOMPARE(updated[0].properties.value(u"label"_s), QVariant(u"Changed"_s));
    QVERIFY(removed[0].names.contains(u"icon-data"_s));

    // Another item takes the place of the first; its number is new, the other's is kept.
    delete first;
    m_menu->insertAction(m_menu->actions().first(), new QAction(u"New"_s, m_menu.get()));
    QTRY_COMPARE(layouts.size(), 2);
    const auto after = m_watcher->items();
    QCOMPARE(m_watcher->revision, layouts[1][0].toUInt());
    QCOMPARE(after[0].properties.value(u"label"_s), QVariant(u"New"_s));
    QVERIFY(after[0].id != before[0].id && after[0].id != before[1].id);
    QCOMPARE(after[1].id, before[1].id);
}

void StatusItemTest::clicksReachTheAction()
{
    QStringList triggered;
    connect(m_menu.get(), &QMenu::triggered, this,
            [&](const QAction* action) { triggered += action->text(); });
    m_menu->addAction(u"A"_s);
    m_menu->addAction(u"B"_s)->setEnabled(false);
    m_menu->addAction(u"C"_s);
    startWithHost();
    const auto items = m_watcher->items();
    const auto event = [](int id, const QString& what) {
        return DBusMenuEvent{id, what, QDBusVariant(QString()), 1000};
    };

    // Two items, one of them off; a pointer that passes over one; one that is not there.
    const QString clicked = u"clicked"_s;
    const auto answer = m_watcher->callMenu(
        u"EventGroup"_s, {QVariant::fromValue(QList<DBusMenuEvent>{
                             event(items[2].id, clicked), event(items[1].id, clicked),
                             event(items[0].id, u"hovered"_s), event(99999, clicked)})});
    QCOMPARE(qdbus_cast<QList<int>>(answer.arguments().value(0)), QList<int>{99999});
    QTRY_COMPARE(triggered, QStringList(u"C"_s));

    // The click counts also when the host is gone before it takes effect.
    auto call = QDBusMessage::createMethodCall(m_watcher->item(), u"/MenuBar"_s, kMenu, u"Event"_s);
    call.setArguments({items[0].id, clicked, QVariant::fromValue(QDBusVariant(0)), 0U});
    m_watcher->bus().send(call);
    m_watcher.reset();
    QTRY_COMPARE(triggered, (QStringList{u"C"_s, u"A"_s}));
}

void StatusItemTest::iconAndToolTipTravel()
{
    startWithHost();
    m_item->setIcon(picture(48, QColor(0x11, 0x22, 0x33, 0x80)));
    m_item->setToolTip(u"<b>1 & 2</b>"_s);

    const auto value = m_watcher->itemProperty(u"IconPixmap"_s);
    QCOMPARE(qvariant_cast<QDBusArgument>(value).currentSignature(), u"a(iiay)"_s);
    QList<int> widths;
    for (const auto& sent : qdbus_cast<QList<StatusNotifierPicture>>(value)) {
        widths += sent.width;
        QCOMPARE(sent.argb.size(), sent.width * sent.height * 4);
        QCOMPARE(sent.argb.at(0), '\x80');
        QVERIFY2(qAbs(sent.argb.at(1) - 0x11) <= 1 && qAbs(sent.argb.at(3) - 0x33) <= 1,
                 sent.argb.left(4).toHex());
    }
    QCOMPARE(widths, (QList<int>{22, 44, 48}));

    const auto toolTip = m_watcher->itemProperty(u"ToolTip"_s);
    QCOMPARE(qvariant_cast<QDBusArgument>(toolTip).currentSignature(), u"(sa(iiay)ss)"_s);
    QCOMPARE(qdbus_cast<StatusNotifierToolTip>(toolTip).title, u"<b>1 & 2</b>"_s);
    QCOMPARE(m_watcher->itemProperty(u"ItemIsMenu"_s), QVariant(true));
    QCOMPARE(qvariant_cast<QDBusObjectPath>(m_watcher->itemProperty(u"Menu"_s)).path(),
             u"/MenuBar"_s);
}

void StatusItemTest::strangeCalls_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<bool>("isAnswered");
    const auto row = [](const char* name, const QString& interface, const QString& method,
                        const QVariantList& arguments, bool isAnswered = false) {
        QTest::newRow(name) << interface << method << arguments << isAnswered;
    };
    const QVariant hollow = QVariant::fromValue(QDBusVariant(0));
    const QVariant unknown = QVariant::fromValue(QList<int>(100000, 77777));
    row("deepest layout", kMenu, u"GetLayout"_s, {0, kMost, QStringList()}, true);
    row("layout of no item", kMenu, u"GetLayout"_s, {kLeast, 1, QStringList()});
    row("layout of a text", kMenu, u"GetLayout"_s, {u"0"_s, 1, QStringList()});
    row("many unknown items", kMenu, u"GetGroupProperties"_s, {unknown, QStringList()}, true);
    row("no property", kMenu, u"GetProperty"_s, {0, u"label"_s});
    row("event for no item", kMenu, u"Event"_s, {kMost, u"clicked"_s, hollow, 0U});
    row("event for the menu", kMenu, u"Event"_s, {0, u"clicked"_s, hollow, 0U}, true);
    row("events that are none", kMenu, u"EventGroup"_s, {unknown});
    row("show many unknown items", kMenu, u"AboutToShowGroup"_s, {unknown});
    row("change a constant", kProperties, u"Set"_s, {kMenu, u"Version"_s, hollow});
    row("delete the item", kItem, u"deleteLater"_s, {});
    row("far away", kItem, u"Activate"_s, {kLeast, kMost}, true);
}

void StatusItemTest::strangeCalls()
{
    QFETCH(QString, interface);
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(bool, isAnswered);
    m_menu->addAction(u"A"_s);
    startWithHost();
    const auto answer =
        m_watcher->call(interface == kItem ? u"/StatusNotifierItem"_s : u"/MenuBar"_s, interface,
                        method, arguments);
    QVERIFY2(answer.errorName() != u"org.freedesktop.DBus.Error.NoReply", "no answer at all");
    QCOMPARE(answer.type() == QDBusMessage::ReplyMessage, isAnswered);
    QCOMPARE(m_watcher->items().size(), 1);
    QCOMPARE(m_menu->isVisible(), method == u"Activate");
    if (m_menu->isVisible()) {
        QVERIFY(qApp->primaryScreen()->geometry().contains(m_menu->geometry()));
    }
}

void StatusItemTest::tray()
{
    const QRect screen = qApp->primaryScreen()->geometry();
    m_menu->addAction(u"A rather long entry of the menu"_s);
    startItem();
    for (const auto* const edge : {"bottom", "top"}) { // comes after the program, and comes again
        QTRY_COMPARE(placeOfIcon(), 'N');
        const Tray tray(edge);
        QTRY_COMPARE(placeOfIcon(), 'T');
        const QRect icon(Tray::icon()->mapToGlobal(QPoint()), Tray::icon()->size());
        for (const auto* const button : {"1", "3"}) {
            QProcess::execute(u"xdotool"_s, {u"mousemove"_s, QString::number(icon.center().x()),
                                             QString::number(icon.center().y()), u"click"_s,
                                             QString::fromLatin1(button)});
            QTRY_VERIFY(m_menu->isVisible());
            QVERIFY(screen.contains(m_menu->geometry()));
            QVERIFY(*button == '3' || !m_menu->geometry().intersects(icon));
            m_menu->hide();
        }
    }
}

QTEST_MAIN(StatusItemTest)
#include "tst_statusitem.moc"
