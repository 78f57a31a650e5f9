#pragma once

#include <QWidget>

class Rise;

// The last slide, on white: the sun comes up, then "Breathe." and the two ways out.
class FinaleView : public QWidget
{
    Q_OBJECT

public:
    explicit FinaleView(QWidget* parent = nullptr);

    // Whether the sun has begun to rise.
    bool rose() const;

Q_SIGNALS:
    void openFolderRequested();
    void doneRequested();

private:
    Rise* m_sun;
};
