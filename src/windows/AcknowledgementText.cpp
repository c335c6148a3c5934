#include "windows/AcknowledgementText.h"

#include "localisation/ShownText.h"

#include <QFocusEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace {

constexpr int kGap = 8; // between the paragraphs
// In characters of an average width.
constexpr int kLineLength = 60;
// Of a longer name only the two ends are laid out: no line is wide enough for more.
constexpr qsizetype kLongestName = 1'000;
// Of each name in the tool tip.
constexpr qsizetype kLongestTip = 900;

QString line(const QString& name)
{
    return ShownText::line(name.size() <= kLongestName
                               ? name
                               : name.left(kLongestName / 2) + name.right(kLongestName / 2));
}

} // namespace

void AcknowledgementText::setNames(const QString& server, const QString& controlUser)
{
    m_server = server;
    m_controlUser = controlUser;
    setText(m_server + u' ' + m_description + u' ' + m_controlUser);
    setAccessibleName(text());
    elide();
    updateGeometry();
}

void AcknowledgementText::elide()
{
    const QFontMetrics metrics(nameFont());
    const QString server = line(m_server);
    const QString controlUser = line(m_controlUser);
    // Of a host's name the end tells more than the middle.
    m_shownServer = metrics.elidedText(server, Qt::ElideMiddle, width());
    m_shownControlUser = metrics.elidedText(controlUser, Qt::ElideRight, width());
    const bool isCut = m_shownServer != server || m_shownControlUser != controlUser;
    const auto tip = [](const QString& name) { return ShownText::line(name, kLongestTip); };
    setPlainToolTip(*this, isCut ? tip(m_server) + u'\n' + tip(m_controlUser) : QString());
    update();
}

QFont AcknowledgementText::nameFont() const
{
    QFont bold = font();
    bold.setBold(true);
    return bold;
}

QRect AcknowledgementText::descriptionRect(int width) const
{
    const int top = QFontMetrics(nameFont()).height() + kGap;
    const QRect below(0, top, width, QWIDGETSIZE_MAX);
    return fontMetrics().boundingRect(below, Qt::AlignLeft | Qt::TextWordWrap, m_description);
}

QSize AcknowledgementText::sizeHint() const
{
    const int width = fontMetrics().averageCharWidth() * kLineLength;
    return {width, heightForWidth(width)};
}

QSize AcknowledgementText::minimumSizeHint() const
{
    return sizeHint();
}

int AcknowledgementText::heightForWidth(int width) const
{
    return descriptionRect(width).bottom() + 1 + kGap + QFontMetrics(nameFont()).height();
}

bool AcknowledgementText::event(QEvent* event)
{
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        m_hasKeyboardFocus = event->type() == QEvent::FocusIn &&
                             (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason);
        update();
    }
    return ElidedLabel::event(event);
}

void AcknowledgementText::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect description = descriptionRect(width());
    const int nameHeight = QFontMetrics(nameFont()).height();
    const auto draw = [&](const QRect& place, const QString& text, const QFont& textFont,
                          int lines) {
        // Stacked accents stay inside their own line.
        painter.setClipRect(place);
        painter.setFont(textFont);
        const int direction =
            text.isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
        style()->drawItemText(&painter, place, Qt::AlignLeft | lines | direction, palette(),
                              isEnabled(), text, foregroundRole());
    };
    draw({0, 0, width(), nameHeight}, m_shownServer, nameFont(), Qt::TextSingleLine);
    draw({0, description.top(), width(), description.height()}, m_description, font(),
         Qt::TextWordWrap);
    draw({0, description.bottom() + 1 + kGap, width(), nameHeight}, m_shownControlUser, nameFont(),
         Qt::TextSingleLine);
    if (m_hasKeyboardFocus) {
        painter.setClipping(false);
        QStyleOptionFocusRect option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
    }
}
