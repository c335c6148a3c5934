#include "platform/desktop/Accessibility.h"

#include "platform/bus/Bus.h"
#include "platform/threads/Worker.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QByteArray>
#include <QDBusMessage>
#include <QEvent>
#include <QFrame>
#include <QLineEdit>
#include <QWidget>

#include <chrono>
#include <future>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString kLauncher = u"org.a11y.Bus"_s; // on the session bus, and its interface
constexpr std::chrono::milliseconds kLongestWait(800);
// Qt connects to this address, and does not look for another one.
constexpr auto kAddress = "AT_SPI_BUS_ADDRESS";
constexpr auto kNowhere = "unix:path=/nonexistent";

// Whether all that Qt will wait for responds. On a worker.
bool isResponding()
{
    QByteArray address = qgetenv(kAddress);
    if (address.isEmpty()) {
        QDBusMessage call = QDBusMessage::createMethodCall(kLauncher, u"/org/a11y/bus"_s, kLauncher,
                                                           u"GetAddress"_s);
        call.setAutoStartService(false);
        const QDBusMessage reply = Bus::session().call(call);
        address = reply.arguments().value(0).toString().toUtf8();
    }
    return address.isEmpty() || Bus::responds(address, "org.a11y.atspi.Registry", Bus::kTimeLimit);
}

// Waits for the program's first window. The tray's icon is one, too; a menu only when it opens.
class FirstWindow : public QObject {
public:
    FirstWindow(QObject* application, std::future<bool> check)
        : QObject(application), m_check(std::move(check))
    {
        QAccessible::installRootObjectHandler([](QObject*) {}); // Qt joins at the main loop's start
        application->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched->isWidgetType()) {
            const bool isMenu = static_cast<QWidget*>(watched)->windowType() == Qt::Popup;
            if (event->type() == (isMenu ? QEvent::Polish : QEvent::Create)) {
                join();
            }
        }
        return false;
    }

private:
    void join()
    {
        parent()->removeEventFilter(this);
        QAccessible::installRootObjectHandler(nullptr);
        const QByteArray address = qgetenv(kAddress);
        if (m_check.wait_for(kLongestWait) != std::future_status::ready || !m_check.get()) {
            qputenv(kAddress, kNowhere);
        }
        QAccessible::setRootObject(parent()); // Qt joins, and reads the variable
        qputenv(kAddress, address);
        deleteLater();
    }

    std::future<bool> m_check;
};

QAccessibleInterface* interfaceOfFrame(const QString& className, QObject* object)
{
    if (className != QLatin1StringView(QFrame::staticMetaObject.className())) {
        return nullptr;
    }
    auto* const frame = static_cast<QFrame*>(object);
    const bool isLine =
        frame->frameShape() == QFrame::HLine || frame->frameShape() == QFrame::VLine;
    return new QAccessibleWidget(frame, isLine ? QAccessible::Separator : QAccessible::Grouping);
}

// What screen readers are told of fields that do not show what is typed (QLineEdit's echo modes).
// The toolkit reports the characters themselves to the accessibility bus, and the keys as well,
// where every program of the user can read them, and screen readers speak them.

bool isHidden(const QObject* object)
{
    const auto* const field = qobject_cast<const QLineEdit*>(object);
    return field != nullptr && field->echoMode() != QLineEdit::Normal;
}

void report(QAccessibleEvent* event);

// To the desktop, which the toolkit informs only while no handler is installed.
void passOn(QAccessibleEvent* event)
{
    QAccessible::installUpdateHandler(nullptr);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(&report);
}

// With a bullet in place of each character. A field whose signals are blocked reports nothing: its
// program is clearing it.
void reportHidden(QAccessibleEvent* event)
{
    QObject* const field = event->object();
    if (field->signalsBlocked()) {
        return;
    }
    const auto bullets = [](const QString& text) { return QString(text.size(), u'\u2022'); };
    const auto passOnHidden = [event](auto hidden) {
        hidden.setCursorPosition(static_cast<QAccessibleTextCursorEvent*>(event)->cursorPosition());
        passOn(&hidden);
    };
    if (event->type() == QAccessible::TextInserted) {
        const auto& typed = static_cast<QAccessibleTextInsertEvent&>(*event);
        passOnHidden(QAccessibleTextInsertEvent(field, typed.changePosition(),
                                                bullets(typed.textInserted())));
    } else if (event->type() == QAccessible::TextRemoved) {
        const auto& typed = static_cast<QAccessibleTextRemoveEvent&>(*event);
        passOnHidden(QAccessibleTextRemoveEvent(field, typed.changePosition(),
                                                bullets(typed.textRemoved())));
    } else if (event->type() == QAccessible::TextUpdated) {
        const auto& typed = static_cast<QAccessibleTextUpdateEvent&>(*event);
        passOnHidden(QAccessibleTextUpdateEvent(field, typed.changePosition(),
                                                bullets(typed.textRemoved()),
                                                bullets(typed.textInserted())));
    } else if (event->type() != QAccessible::ValueChanged) { // which has the whole text
        passOn(event);
    }
}

void report(QAccessibleEvent* event)
{
    // Qt's table interfaces have handled this event already; AT-SPI has none like it.
    if (event->type() == QAccessible::TableModelChanged) {
        return;
    }
    if (isHidden(event->object())) {
        reportHidden(event);
    } else {
        passOn(event);
    }
}

// The toolkit also tells the bus each key that a window receives from the desktop, with its letter,
// and does so in an event filter of its own. It leaves out those that the program sends itself.
class HiddenKeys : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!event->spontaneous() || !watched->isWindowType() || !QAccessible::isActive() ||
            !isHidden(QApplication::focusWidget())) {
            return false;
        }
        switch (event->type()) {
        case QEvent::ShortcutOverride: // comes before each key
            // The filter that was installed last is asked first.
            parent()->installEventFilter(this);
            return false;
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            QCoreApplication::sendEvent(watched, event);
            return true;
        default:
            return false;
        }
    }
};

} // namespace

void Accessibility::begin(QObject* application)
{
    QAccessible::installUpdateHandler(&report);
    application->installEventFilter(new HiddenKeys(application));
    QAccessible::installFactory(&interfaceOfFrame);
    // Added early: changing a variable that is there already leaves the others in place, one of
    // which another thread may be reading.
    qputenv(kAddress, qgetenv(kAddress));
    const auto result = std::make_shared<std::promise<bool>>();
    new FirstWindow(application, result->get_future());
    Worker::run([result] { result->set_value(isResponding()); });
}
