#pragma once

#include <QWidget>

class QLabel;

// The brand mark, "Brindlow" with a subtitle under it, and the gear that opens the settings.
class PanelHeader : public QWidget
{
    Q_OBJECT

public:
    explicit PanelHeader(QWidget* parent = nullptr);

    void setSubtitle(const QString& subtitle);

Q_SIGNALS:
    void settingsRequested();

private:
    QLabel* m_subtitle;
};
