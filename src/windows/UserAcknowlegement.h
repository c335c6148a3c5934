#pragma once

#include "localisation/Translate.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>
#include <QString>

// The dialog that asks the user whether a remote operator may take control. The file's name is
// misspelt on purpose: it is part of the interface.
//
// There is one for the agent's whole life. It has no time-out and no default answer: only its two
// buttons answer, and neither Escape nor the title bar makes it go. While it is shown it lies above
// all other windows of the agent. A request that comes while another is shown takes its place and
// says so; the answer is to the latest. Main thread.
class UserAcknowledgement : public AgentWindow<QDialog, class Ui_UserAcknowlegement> {
    Q_OBJECT

public:
    explicit UserAcknowledgement(LabelSource labels);

    // Brings the dialog up with a request. At first it ignores keys and the mouse.
    void ask(qint64 session, const QString& server, const QString& controlName);
    // Brings a dialog that is being shown before the user, who asks for it.
    void present();
    // The service has taken the request back.
    void withdraw();
    // The whole sentence.
    [[nodiscard]] QString question() const;

    // Puts one language's texts in place; the question follows with the next names.
    void translate(const JsonData::Info& labels) override;

    // The buttons.
    void acceptAction() { answer(true); }
    void declineAction() { answer(false); }

    // Escape and the title bar.
    void reject() override {}

    qint64 session = 0;
    QString serverName;
    QString controlUserName;      // stays after an answer
    bool replacesAnother = false; // which was not answered

Q_SIGNALS:
    void asked();
    void withdrawn(); // while it was shown
    void answered(qint64 session, bool isAccepted);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void awakeFromNib();
    void comeBack(Qt::WindowState state);
    void answer(bool isAccepted);
};
