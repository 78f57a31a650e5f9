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

    // Lets the panel's update button ask `updater`, show whether a release is waiting, and
    // open this dialog when there is one to show.
    static void attach(Updater& updater, MenuView& view);

private:
    UpdateFeed::Release m_release;
};
