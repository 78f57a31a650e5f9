#include "onboarding_window.h"

#include "connect_step.h"
#include "controller/preferences.h"
#include "controller/refresh_run.h"
#include "preferences_step.h"
#include "step_indicator.h"
#include "ui/settings/texts.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/window_fit.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QtConcurrent>

OnboardingWindow::OnboardingWindow(const ControllerParts& parts, const Autostart& autostart, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_autostart(autostart)
    , m_indicator(new StepIndicator(2, this))
    , m_connect(new ConnectStep(parts.preferences, this))
    , m_preferences(new PreferencesStep(parts.preferences, this))
    , m_next(new PrimaryButton(QString(), this, 40))
{
    setWindowTitle(tr("Welcome to Brindlow"));
    setAccessibleName(tr("Welcome to Brindlow"));

    auto* brand = new QVBoxLayout;
    brand->setSpacing(6);
    brand->addWidget(new SunriseMark(56, this), 0, Qt::AlignHCenter);
    QLabel* name = Texts::label(tr("Brindlow"), Texts::Style::heading, this);
    QFont font = name->font();
    font.setPixelSize(26);
    name->setFont(font);
    name->setAlignment(Qt::AlignHCenter);
    brand->addWidget(name);
    QLabel* tagline = Texts::label(tr("A fresh start for your computer."), Texts::Style::detail, this);
    tagline->setAlignment(Qt::AlignHCenter);
    brand->addWidget(tagline);
    brand->addSpacing(6);
    brand->addWidget(m_indicator, 0, Qt::AlignHCenter);

    // The steps scroll on a short screen; the button to go on stays in reach below them.
    auto* body = new QWidget(this);
    auto* steps = new QVBoxLayout(body);
    steps->setContentsMargins(32, 28, 32, 8);
    steps->setSpacing(18);
    steps->addLayout(brand);
    steps->addWidget(m_connect, 0, Qt::AlignHCenter);
    steps->addWidget(m_preferences, 0, Qt::AlignHCenter);
    steps->addStretch(1);
    for (QWidget* step : {static_cast<QWidget*>(m_connect), static_cast<QWidget*>(m_preferences)})
        step->setFixedWidth(460);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 24);
    layout->setSpacing(10);
    layout->addWidget(WindowFit::scrolling(body, this), 1);
    // A line that appears (the connection test's answer) grows the window rather than hiding
    // below the fold.
    WindowFit::followContent(this, body);
    auto* button = new QHBoxLayout;
    button->setContentsMargins(32, 0, 32, 0);
    button->addWidget(m_next);
    layout->addLayout(button);

    connect(m_connect, &ConnectStep::keyChanged, this, &OnboardingWindow::showStep);
    connect(m_next, &QPushButton::clicked, this, &OnboardingWindow::next);
    connect(m_connect, &ConnectStep::submitted, this, &OnboardingWindow::next);
    showStep();
}

int OnboardingWindow::step() const
{
    return m_step;
}

PreferencesStep* OnboardingWindow::preferencesStep() const
{
    return m_preferences;
}

void OnboardingWindow::showStep()
{
    m_indicator->setCurrent(m_step);
    m_connect->setVisible(m_step == 0);
    m_preferences->setVisible(m_step == 1);
    m_next->setText(m_step == 0 ? tr("Continue") : tr("Start my first refresh"));
    m_next->setAccessibleName(m_next->text());
    // Without a key there is nothing to continue with; a key whose test failed may still be
    // right (the network may be down), so it does not hold the person back.
    m_next->setEnabled(m_step == 1 || m_connect->ready());
    // Each step asks for its own height, as far as the screen allows.
    if (isVisible())
        WindowFit::fitToContent(this);
}

void OnboardingWindow::next()
{
    if (m_step == 0) {
        if (!m_connect->ready())
            return;
        m_connect->save();
        m_step = 1;
        showStep();
        return;
    }
    Profile profile = m_parts.preferences.profile();
    profile.onboarded = true;
    // Storing an onboarded profile sets up the Sunday reminder for its Sunday Reset choice.
    m_parts.preferences.setProfile(profile);
    // The reminder and Sunday Reset need the program running, so it starts at login from now on;
    // Settings can turn that off.
    (void)QtConcurrent::run([autostart = m_autostart] { autostart.setOn(true); });
    close();
    m_parts.refresh.start(TidyMode::deep);
    Q_EMIT setUpFinished();
}
