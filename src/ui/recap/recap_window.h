#pragma once

#include <QWidget>

#include <functional>

class Moves;
class Preferences;
class RecapView;

// The "Your recap" window: plays the recap present when it opens, from the first slide each time,
// without a title bar, centred on the screen.
class RecapWindow : public QWidget
{
    Q_OBJECT

public:
    using FolderOpener = std::function<void(const QString& path)>;

    explicit RecapWindow(Preferences& preferences, Moves& moves, QWidget* parent = nullptr);

    // How folders are shown to the person; the desktop's file manager unless replaced.
    void setFolderOpener(FolderOpener opener);
    RecapView* view() const;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    Preferences& m_preferences;
    Moves& m_moves;
    RecapView* m_view;
    FolderOpener m_open;
    bool m_playing = false;
};
