#pragma once

#include <QCheckBox>

// An on/off switch. It stays a check box underneath, so keyboards, screen readers and UI
// automation treat it as the toggle it is.
class Switch : public QCheckBox
{
    Q_OBJECT

public:
    explicit Switch(const QString& accessibleName, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;
};
