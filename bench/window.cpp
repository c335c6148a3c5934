// From a message's bytes on the wire to its window painted, against a bare widget of that size.
#include "AgentFixture.h"
#include "Figures.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QWidget>

namespace {

// Sees which window is painted.
class PaintWatch : public QObject {
public:
    // The time from the start of `show` until a window of that name is on the screen, in
    // milliseconds.
    template <typename Show>
    double timeTo(const char* name, const Show& show)
    {
        m_painted = nullptr;
        m_name = QLatin1StringView(name);
        QElapsedTimer timer;
        timer.start();
        show();
        // The event that paints a window also hands it to the display.
        while (m_painted == nullptr) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return static_cast<double>(timer.nsecsElapsed()) / 1e6;
    }

    // Closes the window and lets the window manager finish. Returns its size.
    [[nodiscard]] QSize close() const
    {
        const QSize size = m_painted->size();
        m_painted->close();
        QTest::qWait(50);
        return size;
    }

private:
    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && receiver->isWidgetType() &&
            static_cast<QWidget*>(receiver)->isWindow() && receiver->objectName() == m_name) {
            m_painted = static_cast<QWidget*>(receiver);
        }
        return false;
    }

    QLatin1StringView m_name;
    QWidget* m_painted = nullptr;
};

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    AgentFixture agent;
    if (!agent.start()) {
        std::fputs("the agent did not start\n", stderr);
        return 1;
    }
    PaintWatch watch;
    application.installEventFilter(&watch);
    std::vector<double> messages;
    std::vector<double> bares;
    for (int round = 0; round < 41; ++round) {
        messages.push_back(watch.timeTo("MessageInbox", [&agent] {
            agent.write(R"(receive_message={"from":"Ann","text":"Hello","timeout":0,"icon":1})");
        }));
        const QSize size = watch.close();
        std::unique_ptr<QWidget> bare;
        bares.push_back(watch.timeTo("bare", [&bare, size] {
            bare = std::make_unique<QWidget>();
            bare->setObjectName("bare");
            bare->resize(size);
            bare->show();
        }));
        static_cast<void>(watch.close());
    }
    Figures::show("a message, wire to painted window", messages, bares, "ms");
}
