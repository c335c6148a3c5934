#pragma once

#include "localisation/Translate.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>
#include <QString>

// The small window in which the user types an account's name and password, so that the settings can
// be changed. Whose they are is not asked: an account that is no administrator's passes here, and
// then the system itself refuses the change.
//
// What was typed is checked elsewhere, which takes seconds; until finishCheck() or cancelAction()
// only Cancel works. Main thread.
class SecurityAccess : public AgentWindow<QDialog, class Ui_SecurityAccess> {
    Q_OBJECT

public:
    explicit SecurityAccess(LabelSource labels);

    // Reads the texts anew and empties both fields.
    void refresh();
    // Brings the window up, in front of the one that it is for.
    void present(QWidget* settings);

    // Emits what was typed, and empties the password's field at once.
    void check();
    // The result: the window goes, or says that the credentials are wrong. Empties both fields.
    void finishCheck(bool isRight);

    // The buttons.
    void applyAction() { check(); }
    void cancelAction();

    // Escape and the title bar.
    void reject() override { cancelAction(); }

    bool status = false; // the last check succeeded

Q_SIGNALS:
    // The password's characters are overwritten when the signal has been handled.
    void credentialsEntered(const QString& username, const QString& password);
    void cancelled();

private:
    void translate(const JsonData::Info& labels) override;
    void clearPassword();
    // Empties the password's field; once nothing is being checked, the name's, too.
    void setChecking(bool isChecking);

    JsonData::Info m_texts = englishFallback(); // the last that were read
    bool m_isChecking = false;
};
