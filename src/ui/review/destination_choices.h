#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <optional>

class Preferences;
struct PlanItem;

// The places a file can be sent: leave it, the Needs You folder, and the home base's own folders
// with their sub-folders (projects, creator, personal, library, work admin, archive by year),
// then whatever else the person keeps at its top. Listing the home base touches the disk, so it
// happens in the background and the list grows when it is done.
class DestinationChoices : public QObject
{
    Q_OBJECT

public:
    struct Choice
    {
        Choice(const QString& label, const std::optional<QString>& folder, bool startsSection = false)
            : label(label)
            , folder(folder)
            , startsSection(startsSection)
        { }

        QString label;
        std::optional<QString> folder; // none: the file stays where it is
        bool startsSection = false;
        QList<Choice> subs; // a menu of its own; its first entry is the folder itself
    };

    explicit DestinationChoices(Preferences& preferences, QObject* parent = nullptr);

    // Never offers a folder the plan itself moves (nor anything inside one), a folder the scan
    // leaves alone, a code project, or one name twice at the same level.
    QList<Choice> choices(const QSet<QString>& movedByPlan = {}) const;
    // The folders of the plan's own items that lie inside the home base, relative to it.
    QSet<QString> movedByPlan(const QList<PlanItem>& plan) const;
    QString homeBase() const;
    // Lists the home base again (the person may have made folders since).
    void refresh();
    bool isListing() const;

Q_SIGNALS:
    void changed();

private:
    Preferences& m_preferences;
    // Every folder found, relative to the home base, two levels deep under the known folders.
    QStringList m_folders;
    QFutureWatcher<QStringList> m_listing;
    bool m_waiting = false; // until the listing's result is in m_folders
};
