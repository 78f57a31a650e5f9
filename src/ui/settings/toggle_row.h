#pragma once

#include <QWidget>

class Switch;

// A title, its detail in secondary text below, and a switch at the right edge. The switch carries
// the title as its accessible name, so a screen reader says what it turns on.
class ToggleRow : public QWidget
{
    Q_OBJECT

public:
    ToggleRow(const QString& title, const QString& detail, QWidget* parent = nullptr);

    bool isOn() const;
    // Shows a state that came from elsewhere; nobody is told, since nobody changed it here.
    void setOn(bool on);
    Switch* toggle() const;

Q_SIGNALS:
    // The person flipped the switch.
    void toggled(bool on);

private:
    Switch* m_switch;
};
