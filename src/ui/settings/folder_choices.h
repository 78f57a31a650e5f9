#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class Preferences;
class ToggleRow;

// "FOLDERS TO SORT": one switch per standard folder of the person (Desktop, Downloads,
// Documents, Pictures, Videos), on when the profile's scan folders hold it.
class FolderChoices : public QWidget
{
    Q_OBJECT

public:
    struct Choice
    {
        QString label; // the folder's usual English name
        QString relative; // where it really is, relative to the home folder

        bool operator==(const Choice&) const = default;
    };

    explicit FolderChoices(Preferences& preferences, QWidget* parent = nullptr);

    // The person's own folders, as the desktop names them (a system in another language has its
    // own names); folders that are the home itself or lie outside it cannot be stored and are left
    // out. Reads the desktop's folder settings, so not for the UI thread.
    static QList<Choice> resolve(const QString& home);
    bool isLoaded() const;

Q_SIGNALS:
    // The switches are there.
    void loaded();

private:
    void build(const QList<Choice>& choices);
    void showProfile();
    void choose(const QString& relative, bool on);

    Preferences& m_preferences;
    QWidget* m_rows;
    QList<QPair<QString, ToggleRow*>> m_toggles; // relative name, its switch
    bool m_loaded = false;
};
