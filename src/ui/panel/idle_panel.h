#pragma once

#include "controller/controller_parts.h"

#include <QWidget>

#include <chrono>

class Card;
class MenuRow;
class PanelHeader;
class QCheckBox;
class QLayout;
class QLabel;
class QPushButton;
class QTimer;
class Stat;

// The resting panel: what is new since the last refresh, the ways to start one, undo, and the
// Sunday Reset switch. Before set-up it only invites the person to get started.
class IdlePanel : public QWidget
{
    Q_OBJECT

public:
    explicit IdlePanel(const ControllerParts& parts, QWidget* parent = nullptr);

    void refresh();
    // The update button reads "Update available" while a newer release is known.
    void setUpdateAvailable(bool available);
    // Shows the update button: an updater answers it.
    void offerUpdateChecks();
    // A line under the update button for a few seconds.
    void showUpdateNote(const QString& note);

    static constexpr std::chrono::milliseconds kUpdateNoteShown {5000};

Q_SIGNALS:
    void windowRequested(const QString& id);
    void updateCheckRequested();

private:
    QWidget* buildWelcome();
    QWidget* buildMain();
    Card* buildSinceCard(QWidget* box);
    QLayout* buildSundayReset(QWidget* box);
    QLayout* buildUpdate(QWidget* box);

    ControllerParts m_parts;
    PanelHeader* m_header;
    QWidget* m_welcome;
    QWidget* m_main;
    QLabel* m_newCount;
    QLabel* m_newLabel;
    Stat* m_folders;
    Stat* m_projects;
    QLabel* m_message;
    MenuRow* m_undo;
    QCheckBox* m_sundayReset;
    QPushButton* m_update;
    QLabel* m_updateNote;
    QTimer* m_updateNoteTimer;
};
