#include "platform/desktop/Announcements.h"

#include "platform/threads/MainQueue.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <utility>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAfterWindow(300);
constexpr milliseconds kTypingEnds(1'000);
// The estimated time to say a text: at its start, and for each character.
constexpr milliseconds kSayingBegins(1'500);
constexpr milliseconds kSayingCharacter(60);
constexpr milliseconds kLongestJoining(3'000);
// After that nobody finds it among the program's windows any more.
constexpr milliseconds kRemains(10'000);
constexpr qsizetype kLongest = 2'000;
constexpr qsizetype kMostTexts = 20;
// At most so many announced objects are kept.
constexpr std::size_t kMostShown = 4;

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

    bool operator==(const Text&) const = default;
};

void removeAll(QList<Text>& texts, Announcements::About about)
{
    texts.removeIf([about](const Text& text) { return text.about == about; });
}

class Announcer : public QObject, public QAccessible::ActivationObserver {
public:
    Announcer()
    {
        setUp(m_next, kAfterWindow, [this] { sayWaiting(); });
        setUp(m_typing, kTypingEnds, [this] { say(std::exchange(m_said, {})); });
        setUp(m_remains, kRemains, [this] { m_shown.clear(); });
        setUp(m_joining, kLongestJoining, [this] { m_waiting.clear(); });
        QAccessible::installFactory(&interfaceFor);
        QAccessible::installActivationObserver(this);
        qApp->installEventFilter(this);
    }

    void add(const Text& text)
    {
        if (text.about != Announcements::About::News) {
            withdraw(text.about);
        }
        if (m_waiting.contains(text)) { // two windows of one chat
            return;
        }
        m_waiting.append(text);
        const auto oldest =
            std::find_if(m_waiting.cbegin(), m_waiting.cend(),
                         [](const Text& kept) { return kept.about == Announcements::About::News; });
        if (m_waiting.size() > kMostTexts && oldest != m_waiting.cend()) {
            m_waiting.erase(oldest);
        }
        startIfFree();
    }

    void withdraw(Announcements::About about)
    {
        removeAll(m_waiting, about);
        removeAll(m_said, about);
    }

    void hold(bool isHeld)
    {
        m_isHeld = isHeld;
        if (isHeld) {
            m_next.stop();
            m_typing.stop();
            m_said.clear();
        } else {
            startIfFree();
        }
    }

    // The keys that a window receives or drops. Those of other programs are nobody's business.
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        QString text;
        if (event->type() == QEvent::KeyPress && watched->isWindowType()) {
            text = static_cast<QKeyEvent*>(event)->text();
        } else if (event->type() == QEvent::InputMethod) {
            text = static_cast<QInputMethodEvent*>(event)->commitString();
        }
        if (!text.isEmpty() && text.at(0).isPrint() && !text.at(0).isSpace()) {
            typed();
        }
        return false;
    }

    void accessibilityActiveChanged(bool isActive) override
    {
        if (isActive) {
            startIfFree(); // the program is made known to the readers only now
        }
    }

private:
    template <typename Then>
    void setUp(QTimer& timer, milliseconds time, Then then)
    {
        timer.setSingleShot(true);
        timer.setInterval(time);
        connect(&timer, &QTimer::timeout, this, then);
    }

    void startIfFree()
    {
        if (!m_isHeld && !m_waiting.isEmpty() && !m_next.isActive()) {
            m_next.start();
        }
    }

    void typed()
    {
        auto saying = kSayingBegins;
        for (const Text& text : std::as_const(m_said)) {
            saying += text.text.size() * kSayingCharacter;
        }
        if (m_typing.isActive() || (!m_said.isEmpty() && m_sinceSaid.elapsed() < saying.count())) {
            m_typing.start();
        }
    }

    void sayWaiting()
    {
        if (!QAccessible::isActive()) {
            // The toolkit joins the bus at the program's first window, and learns a little later
            // whether there is a reader.
            if (!std::exchange(m_hasJoined, true)) {
                Announcement(QString()).winId();
            }
            if (!m_joining.isActive()) {
                m_joining.start();
            }
            return;
        }
        m_joining.stop();
        // What typing has cut off is still to be said.
        QList<Text> texts = m_typing.isActive() ? m_said : QList<Text>();
        m_typing.stop();
        texts += std::exchange(m_waiting, {});
        m_said = texts;
        removeAll(m_said, Announcements::About::Value);
        say(texts);
        m_sinceSaid.start();
    }

    void say(const QList<Text>& texts)
    {
        if (texts.isEmpty()) {
            return;
        }
        QStringList all;
        for (const Text& text : texts) {
            all.append(text.text);
        }
        if (m_shown.size() == kMostShown) {
            m_shown.pop_front();
        }
        m_shown.push_back(std::make_unique<Announcement>(all.join(u'\n').left(2 * kLongest)));
        m_shown.back()->show();
        m_remains.start();
    }

    QList<Text> m_waiting;
    QList<Text> m_said; // may have to be said once more
    QTimer m_next;
    QTimer m_typing;
    QTimer m_remains;
    QTimer m_joining;
    bool m_hasJoined = false;
    QElapsedTimer m_sinceSaid;
    bool m_isHeld = false;
    // The last few stay: a reader looks at an object a moment after it was shown.
    std::deque<std::unique_ptr<Announcement>> m_shown;
};

// Made at its first use, and never destroyed: the application refers to it to its end.
Announcer& announcer()
{
    MainQueue::assertMainThread();
    static Announcer& theOne = *new Announcer;
    return theOne;
}

} // namespace

void Announcements::say(const QString& text, About about)
{
    if (!text.isEmpty()) {
        announcer().add({about, text.left(kLongest)});
    }
}

void Announcements::withdraw(About about)
{
    announcer().withdraw(about);
}

void Announcements::hold(bool isHeld)
{
    announcer().hold(isHeld);
}

#include "Announcements.moc"
