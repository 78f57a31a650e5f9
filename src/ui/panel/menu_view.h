#pragma once

#include "controller/controller_parts.h"

#include <QWidget>

class DonePanel;
class IdlePanel;
class QStackedLayout;
class ReviewReadyPanel;
class ScanningPanel;

// The panel under the tray icon: exactly one of four panels, chosen by the refresh phase.
class MenuView : public QWidget
{
    Q_OBJECT

public:
    explicit MenuView(const ControllerParts& parts, QWidget* parent = nullptr);

    QWidget* currentPanel() const;
    IdlePanel* idlePanel() const;
    ScanningPanel* scanningPanel() const;
    ReviewReadyPanel* reviewReadyPanel() const;
    DonePanel* donePanel() const;
    // Puts the keyboard focus on the shown panel's main button, so that Enter does what the
    // panel is for and never something heavier beside it.
    void focusPrimary();

    // Wrapped lines need the height they take at the panel's fixed width, which a plain size
    // hint leaves out: the panel would cut off its last rows.
    QSize sizeHint() const override;

    static constexpr int kWidth = 360;

Q_SIGNALS:
    void windowRequested(const QString& id);
    // A folder to show in the person's file manager.
    void folderRequested(const QString& path);
    void updateCheckRequested();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void choosePanel();

    ControllerParts m_parts;
    QStackedLayout* m_stack;
    IdlePanel* m_idle;
    ScanningPanel* m_scanning;
    ReviewReadyPanel* m_reviewReady;
    DonePanel* m_done;
};
