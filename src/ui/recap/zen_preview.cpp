#include "zen_preview.h"

#include "motion.h"
#include "ui/panel/zen_view.h"

#include <QVBoxLayout>

#include <cmath>

ZenPreview::ZenPreview(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_zen(new ZenView(this))
{
    setWindowTitle(tr("Refresh animation"));
    setAccessibleName(windowTitle());
    m_zen->setMinimumWidth(400);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 20, 28, 28);
    layout->addWidget(m_zen);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    m_refresh.setStartValue(0.0);
    m_refresh.setEndValue(double(kTotal));
    m_refresh.setDuration(kTotal * kStepMs);
    connect(&m_refresh, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        // One more decision at each whole tenth of a second, not a smooth slide.
        setDecided(int(std::floor(value.toDouble() + 1e-6)));
    });
    connect(&m_refresh, &QAbstractAnimation::finished, this, [this] { setDecided(kTotal); });
}

int ZenPreview::decided() const
{
    return m_decided;
}

ZenView* ZenPreview::zenView() const
{
    return m_zen;
}

void ZenPreview::setDecided(int decided)
{
    decided = std::min(decided, kTotal);
    if (decided == m_decided)
        return;
    m_decided = decided;
    m_zen->setFraction(double(decided) / kTotal);
    m_zen->setPulse(decided);
}

void ZenPreview::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Motion::playWhenShown(m_refresh);
}

void ZenPreview::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Motion::pauseWhenHidden(m_refresh);
}

void ZenPreview::closeEvent(QCloseEvent* event)
{
    // Opened again, the pretend refresh starts over.
    m_refresh.stop();
    m_refresh.setCurrentTime(0);
    QWidget::closeEvent(event);
}
