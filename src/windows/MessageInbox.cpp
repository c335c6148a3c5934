#include "windows/MessageInbox.h"

#include "localisation/ShownText.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/desktop/Announcements.h"
#include "records/Intervals.h"
#include "ui_MessageInbox.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Pictures.h"
#include "window_kit/Placement.h"
#include "windows/ArrivalTime.h"
#include "windows/MessageKind.h"

#include <QDateTime>
#include <QDialog>
#include <QEvent>
#include <QTimer>
#include <QtMath>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// In lines and in characters of an average width: as much of the text as is seen at first.
constexpr int kFewestLines = 3;
constexpr int kMostLines = 12;
constexpr int kLineLength = 56;

// Of the text, to who can't see it and has not gone to the window yet.
constexpr qsizetype kMostSaid = 1'000;

} // namespace

class MessageInbox::Window : public AgentWindow<QDialog> {
public:
    explicit Window(MessageInbox& owner)
        : AgentWindow(Qt::Window, Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint |
                                      Qt::WindowCloseButtonHint),
          m_owner(owner)
    {
        ui.setupUi(this);
        setLogo(ui.logo);
        ui.message->installEventFilter(this);
        connectButton(ui.Quit, [&owner] { owner.QuitAction(); });
    }

    void setKind(qint64 kind)
    {
        m_kind = kind;
        Pictures::show(*ui.icon, MessageKind::picture(kind));
        ui.icon->setVisible(!ui.icon->pixmap(Qt::ReturnByValue).isNull());
        ui.kind->hide(); // until there is a word for it
    }

    void showText(const QString& text)
    {
        ui.message->setMessage(text);
        showColour();
        fitToText();
    }

    void translate(const JsonData::Info& labels)
    {
        setWindowTitle(u"vantory"_s);
        ui.ReceivedLabel->setText(labels.Message.received);
        ui.senderLabel->setText(labels.Message.from);
        Mnemonics::setTexts({{ui.Quit, labels.Common.ok}});
        const QString kind = MessageKind::word(m_kind, labels.Message);
        ui.kind->setText(kind);
        ui.kind->setVisible(!kind.isEmpty());
        setNotShown(m_notShown, labels.Message.more);
    }

    // `words` has "%1" where the number stands.
    void setNotShown(qint64 count, QString words)
    {
        m_notShown = count;
        ui.notShown->setText(words.replace("%1"_L1, QString::number(count)));
        ui.notShown->setVisible(count > 0);
        if (count > 0) {
            growToNeed();
        }
    }

    // Lines that wrap need more height than the layout asks for by itself.
    void growToNeed(int more = 0)
    {
        layout()->activate();
        const int needed = layout()->totalMinimumHeightForWidth(width()) + more;
        if (height() < needed) {
            resize(width(), needed);
        }
    }

    // Escape and the title bar.
    void reject() override { m_owner.QuitAction(); }

    Ui::MessageInbox ui;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == ui.message && event->type() == QEvent::PaletteChange) {
            showColour();
        }
        return AgentWindow::eventFilter(watched, event);
    }

private:
    void showColour()
    {
        QPalette palette;
        if (const auto colour =
                MessageKind::textColour(m_kind, ui.message->palette().color(QPalette::Base))) {
            palette.setColor(QPalette::Text, *colour);
        }
        ui.message->setPalette(palette);
    }

    // A short message gets a small window; a long one can be scrolled and the window made larger.
    void fitToText()
    {
        const QFontMetrics metrics = ui.message->fontMetrics();
        const int margin =
            2 * (ui.message->frameWidth() + qCeil(ui.message->document()->documentMargin()));
        const int width = metrics.averageCharWidth() * kLineLength;
        // Half a line to spare: where the last line just fits, there is a scroll bar all the same.
        const auto heightOf = [&](int lines) {
            return (2 * lines + 1) * metrics.lineSpacing() / 2 + margin;
        };
        const QString start = ui.message->toPlainText().left(kMostLines * kLineLength);
        const QRect wrapped = metrics.boundingRect(QRect(0, 0, width, QWIDGETSIZE_MAX),
                                                   Qt::TextWordWrap | Qt::TextWrapAnywhere, start);
        const int lines = std::clamp(qCeil(qreal(wrapped.height()) / metrics.lineSpacing()),
                                     kFewestLines, kMostLines);
        ui.message->setMinimumSize(width + margin, heightOf(kFewestLines));
        layout()->activate();
        resize(layout()->totalMinimumSize());
        growToNeed(heightOf(lines) - heightOf(kFewestLines));
    }

    MessageInbox& m_owner;
    qint64 m_kind = 0;
    qint64 m_notShown = 0;
};

MessageInbox::MessageInbox(LabelSource labels, QObject* parent)
    : QObject(parent), m_labels(std::move(labels)), m_window(std::make_unique<Window>(*this))
{}

MessageInbox::~MessageInbox() = default;

void MessageInbox::translate(const JsonData::Info& data)
{
    m_window->translate(data);
}

void MessageInbox::set(const QString& from, const QString& text, qint64 seconds, qint64 iconValue)
{
    m_window->refreshLogo(logoChanged);
    m_window->setKind(iconValue);
    const auto labels = m_labels();
    if (labels) {
        translate(*labels);
    }
    m_window->ui.TimeLabel->setText(
        arrivalTime(QDateTime::currentDateTime(), preferredLanguages().constFirst()));
    m_window->ui.Sender->setFullText(from);
    const QString sender = m_window->ui.senderLabel->text() + u' ' + ShownText::line(from);
    m_window->ui.message->setAccessibleName(sender);
    m_window->showText(text);
    const QString said = sender + u'\n' + ShownText::shown(text.left(kMostSaid));
    const QString kind = m_window->ui.kind->text();
    Announcements::say(kind.isEmpty() ? said : kind + u'\n' + said);

    timeout = seconds;
    m_window->ui.AutomaticMessage->clear();
    if (timeout < 1) {
        return;
    }
    timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MessageInbox::changeMessage);
    timer->start(Intervals::current().clock);
    if (labels) {
        showCountDown(*labels);
    }
}

void MessageInbox::present(const QList<QPoint>& others)
{
    m_window->growToNeed();
    const QRect area = Placement::availableArea();
    const QPoint first = Placement::centre(area, m_window->size());
    m_window->move(Placement::cascade(area, m_window->size(), first, others));
    m_window->presentByService();
}

QPoint MessageInbox::position() const
{
    return m_window->pos();
}

bool MessageInbox::isInUse() const
{
    return m_window->isActiveWindow();
}

void MessageInbox::setNotShown(qint64 count)
{
    const auto labels = m_labels();
    m_window->setNotShown(count, labels ? labels->Message.more : englishFallback().Message.more);
}

void MessageInbox::showCountDown(const JsonData::Info& data)
{
    m_window->ui.AutomaticMessage->setText(data.Message.automatic + u' ' +
                                           QString::number(timeout) + u' ' + data.Message.seconds);
}

void MessageInbox::changeMessage()
{
    --timeout;
    if (timeout < 1) {
        stopMessage();
    }
    // Also when that has closed the message. The labels are read anew at each tick, so that a
    // language's change shows while the message is open.
    if (const auto labels = m_labels()) {
        showCountDown(*labels);
        translate(*labels);
    }
}

void MessageInbox::stopMessage()
{
    m_window->hide();
    Q_EMIT closed(m_isClosedByPerson);
    if (timer) {
        timer->stop();
    }
}

void MessageInbox::QuitAction()
{
    m_isClosedByPerson = true;
    stopMessage();
}
