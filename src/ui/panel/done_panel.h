#pragma once

#include "controller/controller_parts.h"

#include <QWidget>

class Card;
class QLabel;
class QLayout;
class QPushButton;
class Stat;

// After an apply: what happened, the recap, the folders to look into, and the way back.
class DonePanel : public QWidget
{
    Q_OBJECT

public:
    explicit DonePanel(const ControllerParts& parts, QWidget* parent = nullptr);

    void refresh();

Q_SIGNALS:
    void windowRequested(const QString& id);
    void folderRequested(const QString& path);

private:
    QLabel* buildHeading();
    Card* buildStats();
    QLayout* buildFooter();
    QString inHomeBase(const QString& folder) const;

    ControllerParts m_parts;
    QLabel* m_line;
    Stat* m_moved;
    Stat* m_renamed;
    Stat* m_junk;
    QPushButton* m_recap;
    QPushButton* m_openPrimary;
    QPushButton* m_openSecondary;
    QPushButton* m_needsYou;
    QPushButton* m_clearOut;
    QPushButton* m_undo = nullptr;
};
