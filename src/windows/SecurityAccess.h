#pragma once

#include "localisation/Translate.h"

#include <QObject>
#include <QString>

#include <memory>

class QWidget;

// The small window in which the person types an account's name and password, so that the settings
// can be changed. Whose they are is not asked: an account that is no administrator's passes here,
// and then the system itself refuses the change.
//
// The controller lives as long as the agent; its window is made when it is first to be seen. What
// was typed is checked elsewhere, which takes seconds; until finishCheck() or cancelAction() only
// Cancel works. Main thread.
class SecurityAccess : public QObject {
    Q_OBJECT

public:
    explicit SecurityAccess(LabelSource labels);
    ~SecurityAccess() override;

    // Reads the texts anew and empties both fields.
    void refresh();
    // Brings the window up, in front of the one that it is for.
    void present(QWidget* settings);
    [[nodiscard]] bool isVisible() const;

    // Emits what was typed, and empties the password's field at once.
    void check();
    // The result: the window goes, or says that the credentials are wrong. Empties both fields.
    void finishCheck(bool isRight);

    // The buttons.
    void applyAction();
    void cancelAction();

    bool status = false; // the last check succeeded

Q_SIGNALS:
    // The password's characters are overwritten when the signal has been handled.
    void credentialsEntered(const QString& username, const QString& password);
    void cancelled();

private:
    class Window;

    Window& window();
    void translate(const JsonData::Info& data);

    const LabelSource m_labels;
    std::unique_ptr<Window> m_window;
    bool m_isChecking = false;
};
