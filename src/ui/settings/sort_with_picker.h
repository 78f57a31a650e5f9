#pragma once

#include "model/profile.h"

#include <QList>
#include <QWidget>

class QButtonGroup;

// "Sort with": one radio button for each way of sorting, built from one table so that another
// way joins as a row. Choosing only says so; the window that holds it decides when to store.
class SortWithPicker : public QWidget
{
    Q_OBJECT

public:
    // Set-up offers the last choice as something to do ("Sort without a model"); Settings names it
    // beside the others.
    enum class Place { settings, setUp };

    explicit SortWithPicker(Place place, QWidget* parent = nullptr);

    SortWith choice() const;
    // Shows `choice` without announcing it as chosen.
    void setChoice(SortWith choice);

Q_SIGNALS:
    void chosen(SortWith choice);

private:
    QButtonGroup* m_group;
    QList<SortWith> m_choices; // by button id
    bool m_showing = false; // set by the program, not chosen by the person
};
