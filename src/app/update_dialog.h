#pragma once

#include "update_feed.h"

#include <QDialog>

class MenuView;
class Updater;

// What a newer release brings, with the way to its page.
class UpdateDialog : public QDialog
{
    Q_OBJECT

public:
    UpdateDialog(const UpdateFeed::Release& release, const QString& currentVersion, QWidget* parent = nullptr);

    // Shows the panel's update button and lets it ask `updater`, show whether a release is
    // waiting, and open this dialog when there is one to show; a check that finds nothing, or
    // fails, says so in the panel for a few seconds.
    static void attach(Updater& updater, MenuView& view);

private:
    UpdateFeed::Release m_release;
};
