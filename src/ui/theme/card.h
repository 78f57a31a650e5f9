#pragma once

#include <QFrame>

class QVBoxLayout;

// A rounded white container that groups related content on the ivory background.
class Card : public QFrame
{
    Q_OBJECT

public:
    explicit Card(QWidget* parent = nullptr);

    QVBoxLayout* content() const;

private:
    QVBoxLayout* m_layout;
};
