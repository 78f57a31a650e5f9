#pragma once

#include "controller/controller_parts.h"

#include "platform/autostart.h"

#include <QWidget>

class ConnectStep;
class PreferencesStep;
class PrimaryButton;
class StepIndicator;

// "Welcome to Brindlow": two steps from a fresh install to the first refresh. The key is stored
// when the person leaves the first step; the second ends set-up and starts a deep refresh.
class OnboardingWindow : public QWidget
{
    Q_OBJECT

public:
    explicit OnboardingWindow(const ControllerParts& parts,
                              const Autostart& autostart = Autostart(),
                              QWidget* parent = nullptr);

    int step() const;
    PreferencesStep* preferencesStep() const;
    // "Continue" on the first step, "Start my first refresh" on the second.
    void next();

Q_SIGNALS:
    // Set-up is over and the first refresh has started; the window has closed.
    void setUpFinished();

private:
    void showStep();

    ControllerParts m_parts;
    Autostart m_autostart;
    int m_step = 0;
    StepIndicator* m_indicator;
    ConnectStep* m_connect;
    PreferencesStep* m_preferences;
    PrimaryButton* m_next;
};
