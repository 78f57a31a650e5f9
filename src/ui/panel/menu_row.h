#pragma once

#include <QAbstractButton>

// One action of the idle panel: an icon, a title and a quieter detail; the whole row is the
// click target and lights up under the pointer.
class MenuRow : public QAbstractButton
{
    Q_OBJECT

public:
    MenuRow(const QIcon& icon, const QString& title, QWidget* parent = nullptr);

    void setDetail(const QString& detail);
    QString detail() const;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    QString m_detail;
    bool m_hover = false;
};
