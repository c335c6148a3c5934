#pragma once

#include "localisation/Translate.h"

#include <QObject>
#include <QString>

#include <memory>

// The dialog that asks the person whether a remote operator may take control. The file's name is
// misspelt on purpose: it is part of the interface.
//
// There is one for the agent's whole life. It has no time-out and no default answer: only its two
// buttons answer, and neither Escape nor the title bar makes it go. While it is shown it lies above
// all other windows of the agent. A request that comes while another is shown takes its place and
// says so; the answer is to the latest. Main thread.
class UserAcknowledgement : public QObject {
    Q_OBJECT

public:
    explicit UserAcknowledgement(LabelSource labels);
    ~UserAcknowledgement() override;

    // Brings the dialog up with a request. At first it ignores keys and the mouse.
    void ask(qint64 session, const QString& server, const QString& controlName);
    // Brings a dialog that is being shown before the person, who asks for it.
    void present();
    void hide();
    [[nodiscard]] bool isVisible() const;
    // The whole sentence.
    [[nodiscard]] QString question() const;

    // Puts one language's texts in place, and the names into the question.
    void translate(const JsonData::Info& data);

    // The buttons.
    void acceptAction();
    void declineAction();

    qint64 session = 0;
    QString serverName;
    QString controlUserName;      // stays after an answer
    bool replacesAnother = false; // which was not answered

Q_SIGNALS:
    void answered(qint64 session, bool isAccepted);

private:
    class Window;

    Window& window();
    void answer(bool isAccepted);

    const LabelSource m_labels;
    std::unique_ptr<Window> m_window;
};
