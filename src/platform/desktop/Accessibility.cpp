#include "platform/desktop/Accessibility.h"

#include "platform/bus/Bus.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/HiddenEcho.h"
#include "platform/threads/Worker.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QByteArray>
#include <QDBusMessage>
#include <QEvent>
#include <QFrame>
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

// Asks what Qt will wait for. On a worker.
bool isAnswered()
{
    QByteArray address = qgetenv(kAddress);
    if (address.isEmpty()) {
        QDBusMessage question = QDBusMessage::createMethodCall(kLauncher, u"/org/a11y/bus"_s,
                                                               kLauncher, u"GetAddress"_s);
        question.setAutoStartService(false);
        const QDBusMessage answer = Bus::session().call(question);
        address = answer.arguments().value(0).toString().toUtf8();
    }
    return address.isEmpty() || Bus::answers(address, "org.a11y.atspi.Registry", Bus::kTimeLimit);
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

} // namespace

void Accessibility::begin(QObject* application)
{
    HiddenEcho::install(application);
    Announcements::begin(application);
    QAccessible::installFactory(&interfaceOfFrame);
    // Once it is there, setting it again moves no other variable, which a thread may be reading.
    qputenv(kAddress, qgetenv(kAddress));
    const auto result = std::make_shared<std::promise<bool>>();
    new FirstWindow(application, result->get_future());
    Worker::run([result] { result->set_value(isAnswered()); });
}
