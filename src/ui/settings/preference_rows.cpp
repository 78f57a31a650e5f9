#include "preference_rows.h"

#include "controller/preferences.h"
#include "toggle_row.h"

#include <QVBoxLayout>

namespace {

// Each platform names the installers its people download.
QString installersDetail()
{
#ifdef Q_OS_MACOS
    return PreferenceRows::tr("Otherwise old .dmg and .pkg files go to Clear out for you to review.");
#else
    return PreferenceRows::tr("Otherwise old .deb, .rpm and AppImage files go to Clear out for you to review.");
#endif
}

} // namespace

PreferenceRows::PreferenceRows(Preferences& preferences, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_rename(new ToggleRow(tr("Rename unclear files by what's in them"),
                             tr("IMG_4821.png → \"Quorrel - holographic dragon card art.png\", named by what's "
                                "actually in the file."),
                             this))
    , m_installers(new ToggleRow(tr("Keep app installers"), installersDetail(), this))
    , m_sundayReset(new ToggleRow(tr("Sunday Reset"),
                                  tr("Every Sunday at 9 AM, Brindlow sorts the files you saved that week (in Downloads "
                                     "and on your Desktop) and sends you a notification when it's ready. You review "
                                     "and approve. Nothing moves before that."),
                                  this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_rename);
    layout->addWidget(m_installers);
    layout->addWidget(m_sundayReset);

    const auto store = [this](bool Profile::*field) {
        return [this, field](bool on) {
            Profile profile = m_preferences.profile();
            profile.*field = on;
            m_preferences.setProfile(profile);
        };
    };
    connect(m_rename, &ToggleRow::toggled, this, store(&Profile::renameFiles));
    connect(m_installers, &ToggleRow::toggled, this, store(&Profile::keepInstallers));
    connect(m_sundayReset, &ToggleRow::toggled, this, store(&Profile::autoTidy));
    connect(&m_preferences, &Preferences::profileChanged, this, &PreferenceRows::showProfile);
    showProfile();
}

void PreferenceRows::showProfile()
{
    const Profile& profile = m_preferences.profile();
    m_rename->setOn(profile.renameFiles);
    m_installers->setOn(profile.keepInstallers);
    m_sundayReset->setOn(profile.autoTidy);
}
