#pragma once

#include "localisation/Translate.h"
#include "records/Activity.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

// The list of what happened to this computer in this run of the agent: sessions, requests that were
// accepted on the person's behalf, and commands that the service ran. The newest stands first; what
// happened while the person was away is bold until the window is closed.
//
// There is one for the agent's whole life; its window is made when it is first to be seen. Main
// thread.
class ActivityWindow : public QObject {
    Q_OBJECT

public:
    using Source = std::function<const ActivityList&()>;

    // "Session began".
    [[nodiscard]] static QString eventName(Activity::Kind kind, const JsonData::Info& labels);

    ActivityWindow(LabelSource labels, Source activities);
    ~ActivityWindow() override;

    // Brings the window up because the person asks for it.
    void present();
    // The list has changed; a window that is shown follows a little later.
    void update();

Q_SIGNALS:
    // The person has the list before them.
    void seen();

private:
    class Window;

    void fill();

    const LabelSource m_labels;
    const Source m_activities;
    QTimer m_fillTimer;
    std::unique_ptr<Window> m_window;
};
