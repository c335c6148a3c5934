#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QString>

#include "localisation/Translate.h"

class QWidget;

// The small window in which the person types an account's name and password, so that the settings
// can be changed. Whose they are is not asked: an account that is no administrator's passes here,
// and then the system itself refuses the change.
//
// The controller lives as long as the agent; its window is made when it is first to be seen. The
// check takes seconds and runs away from the main thread; what comes of it counts only if the
// person has not cancelled meanwhile. Main thread, where nothing else is said.
class SecurityAccess : public QObject {
public:
    // The two outcomes of a check.
    SecurityAccess(std::function<void()> enableSettings, std::function<void()> disableSettings);
    ~SecurityAccess() override;

    // Reads the texts anew and empties both fields.
    void refresh();
    // Brings the window up, in front of the one that it is for.
    void present(QWidget* settings);

    // Checks what was typed; on success it is kept as the agent's `user` and `pwd` and the window
    // goes. In every case the fields are emptied (the password at once), and `checked` is told.
    void check(std::function<void(bool)> checked);

    void applyAction();
    void cancelAction();

    // Whether this is a local account and its password, and, only if told so, an administrator's.
    // Takes seconds; any thread.
    [[nodiscard]] static bool authenticateLocalAdminUser(const QString& username,
                                                         const QString& password, bool checkAdmin);

    bool status = false; // the last check succeeded

private:
    class Window;

    Window& window();
    void translate(const JsonData::Info& data);
    void finishCheck(bool isRight);

    const std::function<void()> m_enableSettings;
    const std::function<void()> m_disableSettings;
    std::unique_ptr<Window> m_window;
    // The check whose result is waited for.
    struct Check;
    std::shared_ptr<Check> m_check;
};
