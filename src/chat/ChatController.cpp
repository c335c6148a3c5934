#include "chat/ChatController.h"

#include <optional>

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include "agent_core/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "ui_ChatController.h"
#include "window_kit/InertPeriod.h"
#include "window_kit/Logo.h"
#include "window_kit/Placement.h"
#include "window_kit/ShownText.h"
#include "windows/ConnectionStatus.h"

using namespace Qt::StringLiterals;

namespace {

constexpr Qt::WindowFlags kFlags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint |
                                   Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint;
constexpr qsizetype kLongestMessage = 128;

// A line of the person's as it goes to the service; none where the text is no valid Unicode, which
// the format could not hold.
std::optional<QString> chatMessageData(qint32 token, const QString& message)
{
    if (!message.isValidUtf16()) {
        return std::nullopt;
    }
    const QJsonObject object{{u"token"_s, token}, {u"message"_s, message}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// "Anna has joined".
QString notice(const QString& name, const std::optional<QString>& label, const QString& fallback)
{
    return ShownText::line(name) + u' ' + label.value_or(fallback);
}

std::optional<QString> chatLabel(QString JsonData::Info::Chat::*label)
{
    const auto labels = getLanguageLabel();
    return labels ? std::optional(labels->info(AppDelegate::language).Chat.*label) : std::nullopt;
}

} // namespace

class ChatController::Window : public QWidget {
public:
    explicit Window(ChatController& owner)
        : QWidget(nullptr, kFlags), inertPeriod(this), m_owner(owner)
    {
        ui.setupUi(this);
        Logo::setWindowIcon(*this);
        Logo::showBundled(*ui.logo);
        for (QFrame* const line : {ui.headerLine, ui.footerLine}) {
            line->setForegroundRole(QPalette::Mid);
        }
        connect(ui.Quit, &QPushButton::clicked, this, [this] { m_owner.QuitAction(); });
        connect(ui.Send, &QPushButton::clicked, this, [this] { m_owner.SendAction(); });
        // Return or Enter in the field; anywhere else Return is the button's key equivalent.
        connect(ui.Message, &QLineEdit::returnPressed, this, [this] { m_owner.SendAction(); });
    }

    // Sets a button's text and leaves it the key equivalent that it has.
    static void setText(QPushButton& button, const QString& text)
    {
        const QKeySequence keyEquivalent = button.shortcut();
        button.setText(text);
        button.setShortcut(keyEquivalent);
    }

    void setCloseButton(bool isThere)
    {
        Qt::WindowFlags flags = windowFlags();
        flags.setFlag(Qt::WindowCloseButtonHint, isThere);
        // setWindowFlags() would take the window off the screen and bring it back.
        overrideWindowFlags(flags);
        if (windowHandle() != nullptr) {
            windowHandle()->setFlags(flags);
        }
    }

    // Chooses the place where the window comes up first; from then on it is the person's.
    void place()
    {
        if (std::exchange(m_isPlaced, true)) {
            return;
        }
        QList<QPoint> taken;
        for (const ChatController* const chat : AppDelegate::chats) {
            if (chat->m_window->isVisible()) {
                taken.append(chat->m_window->pos());
            }
        }
        const QRect area = Placement::availableArea();
        move(Placement::cascade(area, size(), Placement::leftSide(area, size()), taken));
    }

    Ui::ChatController ui;
    InertPeriod inertPeriod;

protected:
    void closeEvent(QCloseEvent* event) override
    {
        // Also where the window manager shows a close button all the same, or has a key for it.
        if (!ui.Quit->isEnabled()) {
            event->ignore();
            return;
        }
        m_owner.windowWillClose();
        event->accept();
    }

    void changeEvent(QEvent* event) override
    {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            Logo::followAppearance(*ui.logo);
        }
    }

private:
    ChatController& m_owner;
    bool m_isPlaced = false;
};

ChatController::ChatController(QObject* parent)
    : QObject(parent), m_window(std::make_unique<Window>(*this))
{
    windowDidLoad();
}

ChatController::~ChatController()
{
    AppDelegate::chats.removeAll(this);
}

void ChatController::windowDidLoad()
{
    m_window->ui.Send->setShortcut(Qt::Key_Return);
    refresh();
    connect(m_window->ui.Message, &MessageField::settled, this,
            &ChatController::controlTextDidChange);
    if (!AppDelegate::allowToLeaveChat) {
        allowToLeave(false);
    }
    Logo::refresh(*m_window->ui.logo, logoChanged);
}

void ChatController::refresh()
{
    const auto& ui = m_window->ui;
    if (const auto labels = getLanguageLabel()) {
        const JsonData::Info& info = labels->info(AppDelegate::language);
        m_window->setWindowTitle(u"vantory - "_s + info.Chat.chat);
        Window::setText(*ui.Quit, info.Common.quit);
        Window::setText(*ui.Send, info.Common.send);
        ui.Messages->setAccessibleName(info.Chat.chat);
        ui.Message->setAccessibleName(info.Chat.chat);
    }
    ui.Message->setFocus();
}

bool ChatController::isVisible() const
{
    return m_window->isVisible() && !m_window->isMinimized();
}

// What the person was typing into another window until now must press nothing here.
void ChatController::presentByService()
{
    if (!m_window->isActiveWindow()) {
        m_window->inertPeriod.begin(InertPeriod::Inputs::Keyboard);
    }
    m_window->place();
    WindowActivation::present(m_window.get());
}

void ChatController::set(qint32 chatToken, qint32 chatSession)
{
    token = chatToken;
    session = chatSession;
    const ConnectionStatus* const status = AppDelegate::connectionStatus;
    from = status != nullptr && !status->sessions.isEmpty() ? status->sessions.first().controlName
                                                            : QString();
    if (!joined) {
        joinedMember(from);
    }
}

void ChatController::joinedMember(const QString& name)
{
    MainQueue::post([self = QPointer(this), name] {
        if (!self || self->members.contains(name)) {
            return;
        }
        self->members.append(name);
        self->showMembers();
        self->display(QString(),
                      notice(name, chatLabel(&JsonData::Info::Chat::joined), u"has joined"_s), true,
                      ChatColour::Green);
    });
}

void ChatController::leftMember(const QString& name)
{
    if (std::exchange(leaved, true)) {
        return;
    }
    MainQueue::post([self = QPointer(this), name] {
        if (!self) {
            return;
        }
        self->members.removeAll(name);
        self->showMembers();
        self->display(QString(),
                      notice(name, chatLabel(&JsonData::Info::Chat::left), u"has left"_s), true,
                      ChatColour::Red);
        if (!AppDelegate::allowToLeaveChat) {
            self->allowToLeave(true);
        }
    });
}

void ChatController::leftMemberLater(const QString& name)
{
    auto* const timer = new QTimer(this);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, [this, timer, name] {
        timer->deleteLater();
        leftMember(name);
    });
    timer->start(Intervals::current().departure);
}

void ChatController::showMembers()
{
    QStringList names;
    for (const QString& name : std::as_const(members)) {
        names.append(ShownText::line(name));
    }
    m_window->ui.Messages->setToolTip(ShownText::toolTip(names.join(u'\n')));
}

void ChatController::receiveChat(const QString& name, const QString& text)
{
    MainQueue::post([self = QPointer(this), name, text] {
        if (self && self->isVisible()) {
            self->display(name, text, true, ChatColour::Text);
        }
    });
}

void ChatController::wakeUp()
{
    MainQueue::post([self = QPointer(this)] {
        if (self && !self->isVisible() && !AppDelegate::isTerminating()) {
            self->presentByService();
        }
    });
}

void ChatController::displayMessage(const QString& sender, const QString& message, bool left,
                                    ChatColour color)
{
    MainQueue::post([self = QPointer(this), sender, message, left, color] {
        if (self) {
            self->display(sender, message, left, color);
        }
    });
}

// At once, for whoever has waited for the turn already: posted again, an entry would fall behind
// what was called after it.
void ChatController::display(const QString& sender, const QString& message, bool left,
                             ChatColour color)
{
    ChatTranscript& transcript = *m_window->ui.Messages;
    if (!sender.isEmpty() && sender != lastUser) {
        lastUser = sender;
        transcript.appendHeader(sender, left, color);
    }
    transcript.appendBody(message, left, color);
    if (!left) {
        transcript.showNewest();
    }
    // For each entry, the person's own included.
    if (isVisible() && !AppDelegate::isTerminating()) {
        presentByService();
    }
}

void ChatController::end()
{
    const auto& ui = m_window->ui;
    const QWidget* const focus = m_window->focusWidget();
    if (focus == ui.Message || focus == ui.Send) {
        // Else the keyboard would pass to the Quit button, under the person's typing.
        ui.Messages->setFocus();
    }
    ui.Send->setEnabled(false);
    ui.Send->setShortcut(QKeySequence());
    ui.Message->setEnabled(false);
    if (!leaved) {
        leftMember(from);
    }
}

void ChatController::allowToLeave(bool isAllowed)
{
    m_window->ui.Quit->setEnabled(isAllowed);
    m_window->setCloseButton(isAllowed);
}

void ChatController::SendAction()
{
    // An input method may have left more than fits.
    controlTextDidChange();
    const QString text = m_window->ui.Message->text();
    if (text.isEmpty()) {
        return;
    }
    if (const auto data = chatMessageData(token, text)) {
        AppDelegate::send(Protocol::sendChat(*data));
    } else {
        printErrorLog(u"the message is not valid Unicode text"_s);
    }
    // Also a line that could not be sent.
    displayMessage(Account::fullName(), text, false, ChatColour::Text);
    m_window->ui.Message->clear();
}

void ChatController::controlTextDidChange()
{
    m_window->ui.Message->limitTo(kLongestMessage);
}

void ChatController::windowWillClose()
{
    printLog(u"close chat: "_s + QString::number(token));
    AppDelegate::send(Protocol::closeChat(token));
}

// One command closes the chat for the service, however many windows it has here.
void ChatController::QuitAction()
{
    windowWillClose();
    m_window->hide();
    const QList<ChatController*> listed = AppDelegate::chats;
    for (ChatController* const chat : listed) {
        if (chat->token == token) {
            AppDelegate::chats.removeAll(chat);
            chat->deleteLater(); // this one is in the middle of its button's click
        }
    }
}
