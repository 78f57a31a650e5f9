#include "scanning_panel.h"

#include "controller/activity.h"
#include "controller/refresh_run.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "zen_view.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

ScanningPanel::ScanningPanel(const ControllerParts& parts, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_zen(new ZenView(this))
    , m_status(new QLabel(this))
    , m_stop(new SecondaryButton(tr("Stop refresh"), this, 32))
{
    m_status->setObjectName(u"calmStatus"_s);
    m_status->setAlignment(Qt::AlignCenter);
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::PlainText);
    QFont statusFont = m_status->font();
    statusFont.setPixelSize(14);
    m_status->setFont(statusFont);

    m_smoothing.setDuration(kSmoothingMs);
    m_smoothing.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_smoothing, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_smooth = value.toDouble();
        showFraction();
    });
    m_statusTimer.setInterval(kStatusRereadMs);
    connect(&m_statusTimer, &QTimer::timeout, this, &ScanningPanel::refreshStatus);
    connect(m_stop, &QPushButton::clicked, this, [this] { m_parts.refresh.cancel(); });

    connect(&m_parts.refresh, &RefreshRun::progressChanged, this, &ScanningPanel::progressChanged);
    connect(&m_parts.activity, &Activity::phaseChanged, this, &ScanningPanel::showFraction);
    for (const auto signal : {&Activity::phaseChanged, &Activity::statusChanged})
        connect(&m_parts.activity, signal, this, &ScanningPanel::refreshStatus);
    connect(&m_parts.refresh, &RefreshRun::progressChanged, this, &ScanningPanel::refreshStatus);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(m_zen);
    layout->addWidget(m_status);
    layout->addWidget(m_stop, 0, Qt::AlignHCenter);
    layout->addStretch(1);
}

double ScanningPanel::targetFraction() const
{
    const int total = m_parts.refresh.total();
    return total <= 0 ? 0.0 : std::min(double(m_parts.refresh.decided()) / total, 1.0);
}

ZenView* ScanningPanel::zenView() const
{
    return m_zen;
}

void ScanningPanel::enter()
{
    m_smoothing.stop();
    m_smooth = targetFraction();
    showFraction();
    refreshStatus();
}

void ScanningPanel::progressChanged()
{
    const double target = targetFraction();
    const double current
        = m_smoothing.state() == QAbstractAnimation::Running ? m_smoothing.endValue().toDouble() : m_smooth;
    if (target == current)
        return;
    // Easing from where the dots are now keeps the field from jumping when reports come fast.
    m_smoothing.stop();
    m_smoothing.setStartValue(m_smooth);
    m_smoothing.setEndValue(target);
    m_smoothing.start();
}

void ScanningPanel::showFraction()
{
    m_zen->setFraction(m_parts.activity.phase() == Phase::applying ? 1.0 : m_smooth);
    m_zen->setPulse(m_parts.refresh.decided());
}

void ScanningPanel::refreshStatus()
{
    Spoken::setText(m_status, m_parts.activity.isUndoing() ? tr("Putting files back") : m_parts.refresh.calmStatus());
    m_stop->setVisible(m_parts.activity.phase() == Phase::scanning);
}

void ScanningPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    refreshStatus();
    m_statusTimer.start();
}

void ScanningPanel::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    m_statusTimer.stop();
}
