#pragma once

#include <QWidget>

class Preferences;
class QButtonGroup;
class QLabel;

// The choice of Claude model for sorting: a quick one and a careful one, each with a line on what
// it is good for. Choosing stores the profile at once.
class ModePicker : public QWidget
{
    Q_OBJECT

public:
    explicit ModePicker(Preferences& preferences, QWidget* parent = nullptr);

private:
    void showProfile();

    Preferences& m_preferences;
    QButtonGroup* m_group;
    QLabel* m_caption;
    QStringList m_models; // by button id
};
