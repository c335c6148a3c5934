#include "windows/MessageInbox.h"

#include "localisation/ShownText.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/desktop/Announcements.h"
#include "records/Intervals.h"
#include "ui_MessageInbox.h"
#include "window_kit/Contrast.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"
#include "windows/ArrivalTime.h"

#include <QDateTime>
#include <QEvent>
#include <QtMath>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// In lines and in characters of an average width: as much of the text as is seen at first.
constexpr int kFewestLines = 3;
constexpr int kMostLines = 12;
constexpr int kLineLength = 56;

// So much of the text a screen reader says when the window comes up.
constexpr qsizetype kMostSaid = 1'000;

// How messages of a kind look.
struct Kind {
    const char16_t* picture;
    QString JsonData::Info::Message::*word;
    // The same hue as the picture's, deep enough for text on light backgrounds and on dark ones.
    QRgb onLight;
    QRgb onDark;
};

// From the first number on.
constexpr std::array<Kind, 4> kKinds = {{
    {u"info", &JsonData::Info::Message::information, 0xff1a5fb4, 0xff8ab8f5},
    {u"question", &JsonData::Info::Message::question, 0xff176b38, 0xff5fcf87},
    {u"caution", &JsonData::Info::Message::caution, 0xff944600, 0xffffa348},
    {u"stop", &JsonData::Info::Message::stop, 0xffb3261e, 0xffff938a},
}};

const Kind* kindOf(qint64 number)
{
    const bool isKnown = number >= 1 && number <= static_cast<qint64>(kKinds.size());
    return isKnown ? &kKinds.at(static_cast<std::size_t>(number - 1)) : nullptr;
}

} // namespace

MessageInbox::MessageInbox(LabelSource labels)
    : AgentWindow(Qt::Window, kUsualButtons | Qt::WindowMinMaxButtonsHint, std::move(labels))
{
    setUp();
    m_ui->message->installEventFilter(this);
    inputGuard.connectButton(m_ui->Quit, [this] { QuitAction(); });
    connect(&timer, &QTimer::timeout, this, &MessageInbox::changeMessage);
}

void MessageInbox::set(const QString& from, const QString& text, qint64 seconds, qint64 iconValue)
{
    refreshLogo();
    m_kind = iconValue;
    const Kind* const kind = kindOf(m_kind);
    Pictures::show(*m_ui->icon, kind != nullptr ? QString::fromUtf16(kind->picture) : QString());
    m_ui->icon->setVisible(!m_ui->icon->pixmap(Qt::ReturnByValue).isNull());
    timeout = seconds;
    if (timeout >= 1) {
        timer.start(Intervals::current().clock);
    }
    translateAnew();
    m_ui->TimeLabel->setText(
        arrivalTime(QDateTime::currentDateTime(), preferredLanguages().constFirst()));
    m_ui->Sender->setFullText(from);
    const QString sender = m_ui->senderLabel->text() + u' ' + ShownText::line(from);
    m_ui->message->setAccessibleName(sender);
    m_ui->message->setMessage(text);
    showColour();
    fitToText();
    const QString said = sender + u'\n' + ShownText::shown(text.left(kMostSaid));
    const QString word = m_ui->kind->text();
    Announcements::say(word.isEmpty() ? said : word + u'\n' + said);
}

void MessageInbox::present()
{
    growToNeed();
    const QRect area = Placement::availableArea();
    move(Placement::cascade(area, *this, Placement::centre(area, size())));
    presentByService();
}

void MessageInbox::translate(const JsonData::Info& labels)
{
    m_ui->ReceivedLabel->setText(labels.Message.received);
    m_ui->senderLabel->setText(labels.Message.from);
    Mnemonics::setTexts({{m_ui->Quit, labels.Common.ok}});
    if (const Kind* const kind = kindOf(m_kind)) {
        m_ui->kind->setText(labels.Message.*kind->word);
        m_ui->kind->show();
    }
    if (timer.isActive()) {
        m_ui->AutomaticMessage->setText(labels.Message.automatic + u' ' + QString::number(timeout) +
                                        u' ' + labels.Message.seconds);
    }
    setNotShown(m_notShown);
}

void MessageInbox::setNotShown(qint64 count)
{
    m_notShown = count;
    const auto labels = m_labels().value_or(englishFallback()).Message;
    QString words = count == 1 ? labels.one : labels.more;
    m_ui->notShown->setText(words.replace("%1"_L1, QString::number(count)));
    m_ui->notShown->setVisible(count > 0);
    if (count > 0) {
        growToNeed();
    }
}

void MessageInbox::changeMessage()
{
    --timeout;
    if (timeout < 1) {
        stopMessage();
    }
    // Done even if the message has just closed. The labels are read anew at each tick, so that a
    // change of language shows while the message is open.
    translateAnew();
}

void MessageInbox::stopMessage()
{
    hide();
    Q_EMIT closed(m_isClosedByUser);
    timer.stop();
}

void MessageInbox::QuitAction()
{
    m_isClosedByUser = true;
    stopMessage();
}

bool MessageInbox::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_ui->message && event->type() == QEvent::PaletteChange) {
        showColour();
    }
    return AgentWindow::eventFilter(watched, event);
}

// The kind's, as far as it can be read on the background.
void MessageInbox::showColour()
{
    QPalette palette;
    if (const Kind* const kind = kindOf(m_kind)) {
        const QColor background = m_ui->message->palette().color(QPalette::Base);
        for (const QRgb shade : {kind->onLight, kind->onDark}) {
            if (Contrast::ratio(shade, background) >= Contrast::kReadable) {
                palette.setColor(QPalette::Text, shade);
                break;
            }
        }
    }
    m_ui->message->setPalette(palette);
}

// A short message gets a small window; a long one can be scrolled and the window made larger.
void MessageInbox::fitToText()
{
    MessageText& message = *m_ui->message;
    const QFontMetrics metrics = message.fontMetrics();
    const int margin = 2 * (message.frameWidth() + qCeil(message.document()->documentMargin()));
    const int width = metrics.averageCharWidth() * kLineLength;
    // Half a line to spare: where the last line just fits, there is a scroll bar all the same.
    const auto heightOf = [&](int lines) {
        return (2 * lines + 1) * metrics.lineSpacing() / 2 + margin;
    };
    const QString start = message.toPlainText().left(kMostLines * kLineLength);
    const QRect wrapped = metrics.boundingRect(QRect(0, 0, width, QWIDGETSIZE_MAX),
                                               Qt::TextWordWrap | Qt::TextWrapAnywhere, start);
    const int lines = std::clamp(qCeil(qreal(wrapped.height()) / metrics.lineSpacing()),
                                 kFewestLines, kMostLines);
    message.setMinimumSize(width + margin, heightOf(kFewestLines));
    layout()->activate();
    resize(layout()->totalMinimumSize());
    growToNeed(heightOf(lines) - heightOf(kFewestLines));
}

// Lines that wrap need more height than the layout asks for by itself.
void MessageInbox::growToNeed(int more)
{
    layout()->activate();
    const int needed = layout()->totalMinimumHeightForWidth(width()) + more;
    if (height() < needed) {
        resize(width(), needed);
    }
}
