#include "windows/ActivityWindow.h"

#include "localisation/ShownText.h"
#include "platform/accounts/PreferredLanguages.h"
#include "ui_ActivityWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHideEvent>
#include <QLocale>
#include <QScrollBar>
#include <QShortcut>
#include <QStyledItemDelegate>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// In UTF-16 code units; a longer text is whole in its tool tip, and where it is copied.
constexpr qsizetype kLongestText = 300;
constexpr int kDetails = 2; // the column
// Changes that come one upon the other fill the list once.
constexpr std::chrono::milliseconds kGathering(100);

// Today's without the date. Short, so that names have room beside it.
QString timeText(const QDateTime& utc)
{
    const QDateTime time = utc.toLocalTime();
    return time.date() == QDate::currentDate()
               ? time.toString(u"HH:mm:ss"_s)
               : QLocale(preferredLanguages().constFirst()).toString(time, QLocale::ShortFormat);
}

// Keeps the columns and lines apart.
class Spacing : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(16, 8);
    }
};

// Of several lines the first one, and a mark that more follows.
QString firstLine(const QString& text)
{
    const qsizetype end = text.indexOf(u'\n');
    return ShownText::line(end < 0 ? text : text.first(end) + u'…', kLongestText);
}

// `font`: the list's, which is bold for what is unseen.
QTreeWidgetItem* itemFor(const Activity& activity, const JsonData::Info& labels, QFont font)
{
    auto* const item =
        new QTreeWidgetItem({timeText(activity.time), activity.event(labels),
                             firstLine(activity.details()), activity.statusText(labels)});
    item->setToolTip(kDetails, ShownText::toolTip(activity.details()));
    item->setData(kDetails, Qt::UserRole, activity.details());
    if (activity.isUnseen) {
        font.setBold(true);
        for (int column = 0; column < item->columnCount(); ++column) {
            item->setFont(column, font);
        }
    }
    return item;
}

} // namespace

ActivityWindow::ActivityWindow(LabelSource labels, const ActivityList& activities)
    : AgentWindow(Qt::Window, kUsualButtons | Qt::WindowMinMaxButtonsHint, std::move(labels)),
      m_activities(activities)
{
    m_fillTimer.setSingleShot(true);
    m_fillTimer.setInterval(kGathering);
    connect(&m_fillTimer, &QTimer::timeout, this, &ActivityWindow::fill);
    setUp();
    m_ui->entries->setItemDelegate(new Spacing(m_ui->entries));
    QHeaderView* const header = m_ui->entries->header();
    header->setSectionsMovable(false);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(kDetails, QHeaderView::Stretch);
    const auto* const copy =
        new QShortcut(QKeySequence::Copy, m_ui->entries, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, &ActivityWindow::copyDetails);
    inputGuard.connectButton(m_ui->Quit, [this] { reject(); });
    // From now on it has the size that the user gives it.
    setMinimumSize(Pictures::grown(minimumSize(), *this));
    resize(Pictures::grown(size(), *this));
}

void ActivityWindow::present()
{
    if (!isVisible()) {
        move(Placement::centre(Placement::availableArea(), size()));
    }
    fill();
    AgentWindow::present();
}

void ActivityWindow::update()
{
    if (isVisible() && !m_fillTimer.isActive()) {
        m_fillTimer.start();
    }
}

void ActivityWindow::fill()
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    setWindowTitle(u"vantory - "_s + labels.Activity.title);
    Mnemonics::setTexts({{m_ui->Quit, labels.Common.quit}});
    QTreeWidget& entries = *m_ui->entries;
    entries.setAccessibleName(labels.Activity.title);
    entries.setHeaderLabels({labels.Activity.time, labels.Activity.event, labels.Activity.details,
                             labels.Activity.status});
    const int scrolled = entries.verticalScrollBar()->value();
    entries.clear();
    for (const Activity& activity : m_activities.all()) {
        entries.insertTopLevelItem(0, itemFor(activity, labels, font()));
    }
    entries.verticalScrollBar()->setValue(scrolled);
    QString since = labels.Activity.since + u' ' + timeText(m_activities.since());
    if (m_activities.dropped() > 0) {
        since +=
            u'\n' + labels.Activity.earlier + u": "_s + QString::number(m_activities.dropped());
    }
    m_ui->since->setText(since);
}

void ActivityWindow::copyDetails()
{
    if (const QTreeWidgetItem* const item = m_ui->entries->currentItem()) {
        const QString text = item->data(kDetails, Qt::UserRole).toString();
        QGuiApplication::clipboard()->setText(
            ShownText::shown(text).replace(QChar::LineSeparator, u'\n'));
    }
}

void ActivityWindow::hideEvent(QHideEvent* event)
{
    AgentWindow::hideEvent(event);
    if (!event->spontaneous()) {
        Q_EMIT seen();
    }
}
