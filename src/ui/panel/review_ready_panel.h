#pragma once

#include "controller/controller_parts.h"

#include <QWidget>

class PanelHeader;
class QLabel;
class Stat;

// A plan waits: what it would do, what the refresh cost, and the way into the review.
class ReviewReadyPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ReviewReadyPanel(const ControllerParts& parts, QWidget* parent = nullptr);

    void refresh();

Q_SIGNALS:
    void windowRequested(const QString& id);

private:
    void notNow();
    ControllerParts m_parts;
    PanelHeader* m_header;
    Stat* m_organize;
    Stat* m_rename;
    Stat* m_junk;
    QLabel* m_cost;
    QLabel* m_message;
};
