#pragma once

#include <QGraphicsEffect>

// Draws a widget lowered by part of `offset` and partly transparent. Drawing it lower, rather
// than moving it inside its parent, keeps the lowered part from being cut off at the parent's
// edge while it rises.
class RiseEffect : public QGraphicsEffect
{
    Q_OBJECT

public:
    explicit RiseEffect(int offset, QObject* parent = nullptr);

    // 0 lowered by the whole offset and invisible, 1 in place and opaque.
    void setProgress(double progress);

    QRectF boundingRectFor(const QRectF& rect) const override;

protected:
    void draw(QPainter* painter) override;

private:
    const int m_offset;
    double m_progress = 0;
};
