#pragma once

#include "localisation/Translate.h"
#include "records/ActivityList.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>
#include <QTimer>

// The list of what happened to this computer: sessions, requests for control and who answered them,
// messages, and commands that the service ran. The newest stands first; what happened while the
// user was away is bold until the window is closed. There is one from the first showing on. Main
// thread.
class ActivityWindow : public AgentWindow<QDialog, class Ui_ActivityWindow> {
    Q_OBJECT

public:
    // The list outlives this.
    ActivityWindow(LabelSource labels, const ActivityList& activities);

    // Brings the window up because the user asks for it.
    void present();
    // The list has changed; a window that is shown follows a little later.
    void update();

Q_SIGNALS:
    // The user has the list before them.
    void seen();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void fill();
    void copyDetails();

    const ActivityList& m_activities;
    QTimer m_fillTimer;
};
