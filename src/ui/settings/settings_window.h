#pragma once

#include "controller/controller_parts.h"

#include "platform/autostart.h"

#include <QWidget>

class Clock;
struct RecapData;

// "Brindlow Settings": the key, the preferences, the folders and model, the known projects, the
// person's own rules, what Claude has cost, and the way to the move history and the previews.
// Every control writes through at once; there is no Save for the profile.
class SettingsWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(const ControllerParts& parts,
                            const Clock* clock = nullptr,
                            const Autostart& autostart = Autostart(),
                            QWidget* parent = nullptr);

    // What "Preview recap" shows: a made-up but typical first refresh.
    static RecapData sampleRecap();

Q_SIGNALS:
    // Open (or raise) the window of this id: "recap" or "zen".
    void windowRequested(const QString& id);
    // Show this folder in the person's file manager.
    void folderRequested(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildLeft(const Autostart& autostart);
    QWidget* buildRight(const Clock* clock);
    QWidget* buildFooter();
    void previewRecap();

    ControllerParts m_parts;
};
