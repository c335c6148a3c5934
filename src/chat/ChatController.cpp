#include "chat/ChatController.h"

#include "localisation/ShownText.h"
#include "platform/accounts/Account.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/WindowActivation.h"
#include "records/Intervals.h"
#include "ui_ChatController.h"
#include "window_kit/ElidedLabel.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Pictures.h"
#include "window_kit/Placement.h"

#include <QCloseEvent>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

ChatController::ChatController(LabelSource labels, bool allowToLeave)
    : AgentWindow(Qt::Window, kUsualButtons | Qt::WindowMinMaxButtonsHint, std::move(labels)),
      m_allowToLeave(allowToLeave)
{
    setUp();
    m_ui->headerLine->setForegroundRole(QPalette::Mid);
    m_ui->footerLine->setForegroundRole(QPalette::Mid);
    inputGuard.connectButton(m_ui->Quit, [this] { QuitAction(); });
    inputGuard.connectButton(m_ui->Send, [this] { SendAction(); });
    // Return or Enter in the field; anywhere else Return is the button's key equivalent.
    connect(m_ui->Message, &QLineEdit::returnPressed, this, &ChatController::SendAction);
    windowDidLoad();
}

void ChatController::windowDidLoad()
{
    m_ui->Send->setShortcut(Qt::Key_Return);
    refresh();
    connect(m_ui->Message, &MessageField::settled, this, &ChatController::controlTextDidChange);
    if (!m_allowToLeave) {
        allowToLeave(false);
    }
    refreshLogo();
}

void ChatController::refresh()
{
    const auto& ui = *m_ui;
    if (const auto labels = m_labels()) {
        setWindowTitle(u"vantory - "_s + labels->Chat.chat);
        Mnemonics::setTexts({{ui.Quit, labels->Common.quit}});
        const QKeySequence keyEquivalent = ui.Send->shortcut(); // which a new text takes away
        ui.Send->setText(Mnemonics::plain(labels->Common.send));
        ui.Send->setShortcut(keyEquivalent);
        ui.Messages->setAccessibleName(labels->Chat.transcript);
        ui.Message->setAccessibleName(labels->Chat.field);
    }
    ui.Message->setFocus();
}

void ChatController::presentBesideOthers(bool isAskedFor)
{
    const QRect area = Placement::availableArea();
    resize(Pictures::grown(size(), *this).boundedTo(area.size() * 3 / 4).expandedTo(minimumSize()));
    move(Placement::cascade(area, *this, Placement::leftSide(area, size())));
    if (isAskedFor) {
        present();
    } else {
        presentByService();
    }
}

bool ChatController::hasEnded() const
{
    return !m_ui->Message->isEnabled();
}

void ChatController::set(qint32 chatToken, qint32 chatSession, const QString& operatorName)
{
    token = chatToken;
    session = chatSession;
    from = operatorName;
    if (!joined) {
        joinedMember(from);
    }
}

void ChatController::joinedMember(const QString& name)
{
    if (members.contains(name)) {
        return;
    }
    members.append(name);
    showMembers();
    const auto labels = m_labels();
    const QString hasJoined = labels ? labels->Chat.joined : u"has joined"_s;
    displayMessage({}, ShownText::line(name) + u' ' + hasJoined, true, ChatColour::Green);
}

void ChatController::leftMember(const QString& name)
{
    if (std::exchange(leaved, true)) {
        return;
    }
    members.removeAll(name);
    showMembers();
    const auto labels = m_labels();
    const QString hasLeft = labels ? labels->Chat.left : u"has left"_s;
    displayMessage({}, ShownText::line(name) + u' ' + hasLeft, true, ChatColour::Red);
    if (!m_allowToLeave) {
        allowToLeave(true);
    }
}

void ChatController::leftMemberLater(const QString& name)
{
    QTimer::singleShot(Intervals::current().departure, this, [this, name] { leftMember(name); });
}

void ChatController::showMembers()
{
    QStringList names;
    for (const QString& name : std::as_const(members)) {
        names.append(ShownText::line(name));
    }
    setPlainToolTip(*m_ui->Messages, names.join(u'\n'));
    m_ui->operators->setFullText(names.join(u", "_s));
}

void ChatController::receiveChat(const QString& name, const QString& text)
{
    if (isSeen()) {
        displayMessage(name, text, true, ChatColour::Text);
    }
}

void ChatController::wakeUp()
{
    if (!isSeen()) {
        presentByService();
    }
}

void ChatController::displayMessage(const QString& sender, const QString& message, bool left,
                                    ChatColour color)
{
    ChatTranscript& transcript = *m_ui->Messages;
    if (!sender.isEmpty() && sender != lastUser) {
        lastUser = sender;
        transcript.appendHeader(sender, left);
    }
    transcript.appendBody(message, left, color);
    // Not for the user's own lines: somebody who has just written one is here.
    if (left) {
        constexpr qsizetype kMostSaid = 1'000; // of a longer one
        const QString shown = ShownText::shown(message.left(kMostSaid));
        Announcements::say(sender.isEmpty() ? shown : ShownText::line(sender) + u": "_s + shown);
        if (isSeen()) {
            WindowActivation::demandAttention(this);
        }
    }
}

void ChatController::end()
{
    const auto& ui = *m_ui;
    const QWidget* const focus = focusWidget();
    if (focus == ui.Message || focus == ui.Send) {
        // Else the keyboard would pass to the Quit button, while the user types.
        ui.Messages->setFocus();
    }
    ui.Send->setEnabled(false);
    ui.Send->setShortcut(QKeySequence());
    ui.Message->setEnabled(false);
    leftMember(from);
}

void ChatController::allowToLeave(bool isAllowed)
{
    m_ui->Quit->setEnabled(isAllowed);
    Qt::WindowFlags flags = windowFlags();
    flags.setFlag(Qt::WindowCloseButtonHint, isAllowed);
    // setWindowFlags() would take the window off the screen and bring it back.
    overrideWindowFlags(flags);
    if (windowHandle() != nullptr) {
        windowHandle()->setFlags(flags);
    }
}

void ChatController::SendAction()
{
    // An input method may have left more than fits.
    controlTextDidChange();
    const QString text = m_ui->Message->text();
    if (text.isEmpty()) {
        return;
    }
    Q_EMIT lineEntered(text);
    // Also a line that could not be sent.
    displayMessage(Account::fullName(), text, false, ChatColour::Text);
    m_ui->Message->clear();
}

void ChatController::controlTextDidChange()
{
    constexpr qsizetype kLongestMessage = 128; // in grapheme clusters (UAX #29)
    QLineEdit& field = *m_ui->Message;
    const QString cut = ShownText::firstCharacters(field.text(), kLongestMessage);
    if (cut.size() < field.text().size()) {
        const int caret = std::min(field.cursorPosition(), static_cast<int>(cut.size()));
        field.setText(cut);
        field.setCursorPosition(caret);
    }
}

void ChatController::closeEvent(QCloseEvent* event)
{
    // Also where the window manager shows a close button all the same, or has a key for it.
    if (!m_ui->Quit->isEnabled()) {
        event->ignore();
        return;
    }
    AgentWindow::closeEvent(event);
    if (event->isAccepted()) {
        windowWillClose();
    }
}

void ChatController::windowWillClose()
{
    Q_EMIT closed();
}

void ChatController::QuitAction()
{
    windowWillClose();
    hide();
    Q_EMIT quit();
}
