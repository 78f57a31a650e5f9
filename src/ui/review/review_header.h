#pragma once

#include <QWidget>

class QLabel;

// The two lines above a tab's content: what it is, and a calm sentence about it.
class ReviewHeader : public QWidget
{
    Q_OBJECT

public:
    explicit ReviewHeader(QWidget* parent = nullptr, const QString& title = {}, const QString& subtitle = {});

    QLabel* title() const;
    QLabel* subtitle() const;

private:
    QLabel* m_title;
    QLabel* m_subtitle;
};
