#include "menu_view.h"

#include "controller/activity.h"
#include "controller/preferences.h"
#include "controller/refresh_run.h"
#include "done_panel.h"
#include "idle_panel.h"
#include "review_ready_panel.h"
#include "scanning_panel.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"

#include <QStackedLayout>
#include <QVBoxLayout>

MenuView::MenuView(const ControllerParts& parts, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_stack(new QStackedLayout)
    , m_idle(new IdlePanel(parts, this))
    , m_scanning(new ScanningPanel(parts, this))
    , m_reviewReady(new ReviewReadyPanel(parts, this))
    , m_done(new DonePanel(parts, this))
{
    setFixedWidth(kWidth);
    setAutoFillBackground(true);
    setAccessibleName(tr("Brindlow"));
    // A stacked layout ignores its own margins; the frame around it keeps the panels off the edges.
    auto* frame = new QVBoxLayout(this);
    frame->setContentsMargins(18, 16, 18, 14);
    frame->addLayout(m_stack);
    for (QWidget* panel : std::initializer_list<QWidget*> {m_idle, m_scanning, m_reviewReady, m_done})
        m_stack->addWidget(panel);

    connect(m_idle, &IdlePanel::windowRequested, this, &MenuView::windowRequested);
    connect(m_idle, &IdlePanel::updateCheckRequested, this, &MenuView::updateCheckRequested);
    connect(m_reviewReady, &ReviewReadyPanel::windowRequested, this, &MenuView::windowRequested);
    connect(m_done, &DonePanel::windowRequested, this, &MenuView::windowRequested);
    connect(m_done, &DonePanel::folderRequested, this, &MenuView::folderRequested);
    connect(&m_parts.activity, &Activity::phaseChanged, this, &MenuView::choosePanel);
    choosePanel();
}

void MenuView::choosePanel()
{
    QWidget* wanted = m_idle;
    switch (m_parts.activity.phase()) {
        case Phase::idle:
            wanted = m_idle;
            break;
        case Phase::scanning:
        case Phase::applying:
            wanted = m_scanning;
            break;
        case Phase::review:
            wanted = m_reviewReady;
            break;
        case Phase::done:
            wanted = m_done;
            break;
    }
    // Entering the progress panel starts its dots from the work's current progress.
    if (wanted == m_scanning && m_stack->currentWidget() != m_scanning)
        m_scanning->enter();
    // Only the shown panel counts for the size, so the popup fits it instead of the tallest one.
    for (int i = 0; i < m_stack->count(); ++i) {
        QWidget* panel = m_stack->widget(i);
        const auto policy = panel == wanted ? QSizePolicy::Preferred : QSizePolicy::Ignored;
        panel->setSizePolicy(policy, policy);
    }
    m_stack->setCurrentWidget(wanted);
    adjustSize();
    if (isVisible())
        focusPrimary();
}

QSize MenuView::sizeHint() const
{
    const QSize hint = QWidget::sizeHint();
    if (!layout() || !layout()->hasHeightForWidth())
        return hint;
    return {kWidth, std::max(hint.height(), layout()->totalHeightForWidth(kWidth))};
}

void MenuView::focusPrimary()
{
    QWidget* panel = m_stack->currentWidget();
    const auto usable
        = [panel](const QPushButton* button) { return button->isVisibleTo(panel) && button->isEnabled(); };
    const QList<PrimaryButton*> primaries = panel->findChildren<PrimaryButton*>();
    const QList<SecondaryButton*> secondaries = panel->findChildren<SecondaryButton*>();
    QWidget* target = nullptr;
    if (const auto it = std::find_if(primaries.begin(), primaries.end(), usable); it != primaries.end())
        target = *it;
    else if (const auto other = std::find_if(secondaries.begin(), secondaries.end(), usable);
             other != secondaries.end())
        target = *other;
    if (target)
        target->setFocus(Qt::OtherFocusReason);
}

QWidget* MenuView::currentPanel() const
{
    return m_stack->currentWidget();
}

IdlePanel* MenuView::idlePanel() const
{
    return m_idle;
}

ScanningPanel* MenuView::scanningPanel() const
{
    return m_scanning;
}

ReviewReadyPanel* MenuView::reviewReadyPanel() const
{
    return m_reviewReady;
}

DonePanel* MenuView::donePanel() const
{
    return m_done;
}

void MenuView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_parts.refresh.refreshNewFiles();
    m_idle->refresh();
    // The reset home base is said once: now that the panel shows it, it is not said again.
    const std::optional<QString> notice = m_parts.preferences.homeBaseNotice();
    if (notice && m_parts.activity.message() == notice)
        m_parts.preferences.homeBaseNoticeShown();
}
