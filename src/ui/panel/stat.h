#pragma once

#include <QWidget>

class QLabel;

// A figure with a caption under it: the review card's "to organize", the idle card's small
// "folders watched" and the done panel's "organized".
class Stat : public QWidget
{
    Q_OBJECT

public:
    enum class Size {
        mini,
        regular,
    };

    Stat(const QString& label, Size size, QWidget* parent = nullptr);

    void setValue(const QString& value);
    QString value() const;

private:
    QLabel* m_value;
    QString m_label;
};
