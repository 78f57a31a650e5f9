#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QStringList>

#include <optional>

class Preferences;

// The places an unsure file can be sent: leave it, the Needs You folder, the archive, every
// project, and the folders already at the top of the home base. Listing the home base touches
// the disk, so it happens in the background and the list grows when it is done.
class DestinationChoices : public QObject
{
    Q_OBJECT

public:
    struct Choice
    {
        QString label;
        std::optional<QString> folder; // none: the file stays where it is
        bool startsSection = false;
    };

    explicit DestinationChoices(Preferences& preferences, QObject* parent = nullptr);

    QList<Choice> choices() const;
    // Lists the home base again (the person may have made folders since).
    void refresh();
    bool isListing() const;

Q_SIGNALS:
    void changed();

private:
    Preferences& m_preferences;
    QStringList m_topFolders;
    QFutureWatcher<QStringList> m_listing;
    bool m_waiting = false; // until the listing's result is in m_topFolders
};
