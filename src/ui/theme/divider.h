#pragma once

#include <QFrame>

// The one-pixel hairline that separates groups of rows inside a card or a panel.
class Divider : public QFrame
{
    Q_OBJECT

public:
    explicit Divider(QWidget* parent = nullptr);
};
