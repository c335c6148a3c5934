#include "windows/ActivityWindow.h"

#include "localisation/ShownText.h"
#include "platform/accounts/PreferredLanguages.h"
#include "ui_ActivityWindow.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"
#include "windows/ArrivalTime.h"

#include <QClipboard>
#include <QDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHideEvent>
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

// Today's without the date.
QString timeText(const QDateTime& time)
{
    return time.date() == QDate::currentDate()
               ? time.toString(u"HH:mm:ss"_s)
               : arrivalTime(time, preferredLanguages().constFirst());
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

// Of a command of several lines the first one, and a mark that more follows.
QString detailsText(const Activity& activity)
{
    const qsizetype end =
        activity.kind == Activity::Kind::Command ? activity.text.indexOf(u'\n') : -1;
    return ShownText::line(end < 0 ? activity.text : activity.text.first(end) + u'…', kLongestText);
}

QString statusText(const Activity& activity, const JsonData::Info& labels)
{
    if (activity.kind != Activity::Kind::Command) {
        return {};
    }
    return activity.status ? QString::number(*activity.status) : labels.Activity.running;
}

} // namespace

class ActivityWindow::Window : public AgentWindow<QDialog> {
public:
    explicit Window(ActivityWindow& owner)
        : AgentWindow(Qt::Window, Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint |
                                      Qt::WindowCloseButtonHint),
          m_owner(owner)
    {
        ui.setupUi(this);
        setLogo(ui.logo);
        ui.entries->setItemDelegate(new Spacing(ui.entries));
        ui.entries->header()->setSectionsMovable(false);
        ui.entries->header()->setStretchLastSection(false);
        ui.entries->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        ui.entries->header()->setSectionResizeMode(kDetails, QHeaderView::Stretch);
        const auto* const copy =
            new QShortcut(QKeySequence::Copy, ui.entries, nullptr, nullptr, Qt::WidgetShortcut);
        connect(copy, &QShortcut::activated, this, &Window::copyDetails);
        connectButton(ui.Quit, [this] { reject(); });
    }

    void fill(const ActivityList& activities, const JsonData::Info& labels)
    {
        setWindowTitle(u"vantory - "_s + labels.Activity.title);
        Mnemonics::setTexts({{ui.Quit, labels.Common.quit}});
        ui.entries->setAccessibleName(labels.Activity.title);
        ui.entries->setHeaderLabels({labels.Activity.time, labels.Activity.event,
                                     labels.Activity.details, labels.Activity.status});
        const int scrolled = ui.entries->verticalScrollBar()->value();
        ui.entries->clear();
        for (const Activity& activity : activities.all()) {
            ui.entries->insertTopLevelItem(0, itemFor(activity, labels));
        }
        ui.entries->verticalScrollBar()->setValue(scrolled);
        ui.earlier->setText(activities.dropped() > 0 ? labels.Activity.earlier + u": "_s +
                                                           QString::number(activities.dropped())
                                                     : QString());
    }

    // Once: from then on it has the size that the person gives it.
    void growWithFont()
    {
        if (!std::exchange(m_isGrown, true)) {
            setMinimumSize(Pictures::grown(minimumSize(), *this));
            resize(Pictures::grown(size(), *this));
        }
    }

    Ui::ActivityWindow ui;

protected:
    void hideEvent(QHideEvent* event) override
    {
        AgentWindow::hideEvent(event);
        if (!event->spontaneous()) {
            Q_EMIT m_owner.seen();
        }
    }

private:
    void copyDetails()
    {
        if (const QTreeWidgetItem* const item = ui.entries->currentItem()) {
            const QString text = item->data(kDetails, Qt::UserRole).toString();
            QGuiApplication::clipboard()->setText(
                ShownText::shown(text).replace(QChar::LineSeparator, u'\n'));
        }
    }

    [[nodiscard]] QTreeWidgetItem* itemFor(const Activity& activity,
                                           const JsonData::Info& labels) const
    {
        auto* const item =
            new QTreeWidgetItem({timeText(activity.time), eventName(activity.kind, labels),
                                 detailsText(activity), statusText(activity, labels)});
        item->setToolTip(kDetails, ShownText::toolTip(activity.text));
        item->setData(kDetails, Qt::UserRole, activity.text);
        if (activity.isUnseen) {
            QFont bold = font();
            bold.setBold(true);
            for (int column = 0; column < item->columnCount(); ++column) {
                item->setFont(column, bold);
            }
        }
        return item;
    }

    ActivityWindow& m_owner;
    bool m_isGrown = false;
};

QString ActivityWindow::eventName(Activity::Kind kind, const JsonData::Info& labels)
{
    switch (kind) {
    case Activity::Kind::SessionBegan:
        return labels.Activity.began;
    case Activity::Kind::SessionEnded:
        return labels.Activity.ended;
    case Activity::Kind::SessionNotEnded:
        return labels.Activity.notEnded;
    case Activity::Kind::RequestAccepted:
        return labels.Activity.accepted;
    case Activity::Kind::Command:
        return labels.Activity.command;
    }
    return {};
}

ActivityWindow::ActivityWindow(LabelSource labels, Source activities)
    : m_labels(std::move(labels)), m_activities(std::move(activities))
{
    m_fillTimer.setSingleShot(true);
    m_fillTimer.setInterval(kGathering);
    connect(&m_fillTimer, &QTimer::timeout, this, &ActivityWindow::fill);
}

ActivityWindow::~ActivityWindow() = default;

void ActivityWindow::present()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
    }
    if (!m_window->isVisible()) {
        m_window->growWithFont();
        m_window->move(Placement::centre(Placement::availableArea(), m_window->size()));
    }
    fill();
    m_window->present();
}

void ActivityWindow::update()
{
    if (m_window && m_window->isVisible() && !m_fillTimer.isActive()) {
        m_fillTimer.start();
    }
}

void ActivityWindow::fill()
{
    m_window->fill(m_activities(), m_labels().value_or(englishFallback()));
}
