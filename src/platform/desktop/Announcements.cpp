#include "platform/desktop/Announcements.h"

#include "platform/threads/MainQueue.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <memory>
#include <utility>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAfterWindow(300);
constexpr milliseconds kTypingEnds(1'000);
// Typing later than that does not cut off much.
constexpr milliseconds kIsBeingSaid(2'500);
constexpr milliseconds kLongestJoining(3'000);
// After that nobody finds it among the program's windows any more.
constexpr milliseconds kRemains(10'000);
constexpr qsizetype kLongest = 2'000;
constexpr qsizetype kMostTexts = 20;

// Its accessible name is what is said.
class Announcement : public QWidget {
    Q_OBJECT

public:
    explicit Announcement(const QString& text)
    {
        setAttribute(Qt::WA_DontShowOnScreen);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAccessibleName(text); // before it is shown, which is when it is read
    }
};

QAccessibleInterface* interfaceFor(const QString& className, QObject* object)
{
    if (className == QLatin1StringView(Announcement::staticMetaObject.className())) {
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Notification);
    }
    return nullptr;
}

struct Text {
    Announcements::About about;
    QString text;
};

void removeAll(QList<Text>& texts, Announcements::About about)
{
    texts.removeIf([about](const Text& text) { return text.about == about; });
}

class Announcer : public QObject, public QAccessible::ActivationObserver {
public:
    explicit Announcer(QObject* application);
    ~Announcer() override { QAccessible::removeActivationObserver(this); }

    void add(const Text& text);
    void withdraw(Announcements::About about);

    bool eventFilter(QObject* watched, QEvent* event) override;
    void accessibilityActiveChanged(bool isActive) override;

private:
    void joinBus();
    void sayWaiting();
    void sayAgain();
    void say(const QList<Text>& texts);

    QList<Text> m_waiting;
    QList<Text> m_said; // may have to be said once more
    QTimer m_next;
    QTimer m_typing;
    QTimer m_remains;
    QTimer m_joining;
    bool m_hasJoined = false;
    QElapsedTimer m_sinceSaid;
    std::unique_ptr<Announcement> m_announcement;
};

QPointer<Announcer>& announcer()
{
    static QPointer<Announcer> theOne;
    return theOne;
}

Announcer::Announcer(QObject* application) : QObject(application)
{
    for (const auto& [timer, length] :
         {std::pair(&m_next, kAfterWindow), std::pair(&m_typing, kTypingEnds),
          std::pair(&m_remains, kRemains), std::pair(&m_joining, kLongestJoining)}) {
        timer->setSingleShot(true);
        timer->setInterval(length);
    }
    connect(&m_next, &QTimer::timeout, this, &Announcer::sayWaiting);
    connect(&m_typing, &QTimer::timeout, this, &Announcer::sayAgain);
    connect(&m_remains, &QTimer::timeout, this, [this] { m_announcement.reset(); });
    connect(&m_joining, &QTimer::timeout, this, [this] { m_waiting.clear(); });
    QAccessible::installActivationObserver(this);
    application->installEventFilter(this);
}

void Announcer::add(const Text& text)
{
    if (text.about != Announcements::About::News) {
        withdraw(text.about);
    }
    m_waiting.append(text);
    if (m_waiting.size() > kMostTexts) {
        m_waiting.removeFirst();
    }
    if (!m_next.isActive()) {
        m_next.start();
    }
}

void Announcer::withdraw(Announcements::About about)
{
    removeAll(m_waiting, about);
    removeAll(m_said, about);
}

// The keys that a window receives or drops. Those of other programs are nobody's business.
bool Announcer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress && watched->isWindowType()) {
        const QString typed = static_cast<QKeyEvent*>(event)->text();
        const bool isTyping = !typed.isEmpty() && typed.at(0).isPrint() && !typed.at(0).isSpace();
        const bool isBeingSaid =
            !m_said.isEmpty() && m_sinceSaid.elapsed() < milliseconds(kIsBeingSaid).count();
        if (isTyping && (isBeingSaid || m_typing.isActive())) {
            m_typing.start();
        }
    }
    return QObject::eventFilter(watched, event);
}

void Announcer::accessibilityActiveChanged(bool isActive)
{
    if (isActive && !m_waiting.isEmpty()) {
        m_next.start(); // the program is made known to the readers only now
    }
}

// The toolkit joins the bus at the program's first window, and learns a little later whether there
// is a reader.
void Announcer::joinBus()
{
    if (!std::exchange(m_hasJoined, true)) {
        Announcement(QString()).winId();
    }
    if (!m_joining.isActive()) {
        m_joining.start();
    }
}

void Announcer::sayWaiting()
{
    if (!QAccessible::isActive()) {
        joinBus();
        return;
    }
    m_joining.stop();
    m_typing.stop();
    m_said = std::exchange(m_waiting, {});
    say(m_said);
    m_sinceSaid.start();
}

void Announcer::sayAgain()
{
    say(std::exchange(m_said, {}));
}

void Announcer::say(const QList<Text>& texts)
{
    QString all;
    for (const Text& text : texts) {
        all += (all.isEmpty() ? QString() : QString(u'\n')) + text.text;
    }
    m_announcement.reset(); // another object each time: readers look at it a moment later
    if (!all.isEmpty()) {
        m_announcement = std::make_unique<Announcement>(all);
        m_announcement->show();
        m_remains.start();
    }
}

} // namespace

void Announcements::begin(QObject* application)
{
    QAccessible::installFactory(&interfaceFor);
    announcer() = new Announcer(application);
}

void Announcements::say(const QString& text, About about)
{
    MainQueue::assertMainThread();
    if (announcer() && !text.isEmpty()) {
        announcer()->add({about, text.left(kLongest)});
    }
}

void Announcements::withdraw(About about)
{
    MainQueue::assertMainThread();
    if (announcer()) {
        announcer()->withdraw(about);
    }
}

#include "Announcements.moc"
