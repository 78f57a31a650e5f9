#pragma once

#include <QLabel>

class Activity;

// Says why something the person just asked for on this panel was refused (another Brindlow is
// busy, the move log cannot be written), until the controller moves on to another phase.
class RefusalLine : public QLabel
{
    Q_OBJECT

public:
    explicit RefusalLine(Activity& activity, QWidget* parent = nullptr);
};
