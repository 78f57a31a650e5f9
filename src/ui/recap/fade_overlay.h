#pragma once

#include <QPixmap>
#include <QWidget>

// The slide being left, as a still picture laid over the next one and fading away, so the change
// of slide is a cross-fade without rendering two live slides at once.
class FadeOverlay : public QWidget
{
    Q_OBJECT

public:
    explicit FadeOverlay(QWidget* parent = nullptr);

    void setPicture(const QPixmap& picture);
    void setOpacity(double opacity);
    double opacity() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_picture;
    double m_opacity = 1;
};
