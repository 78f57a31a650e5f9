#include "screenshots.h"

#include "model/store.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace Screenshots {

QString prepare(QApplication& app, int argc, char* argv[])
{
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : u"docs/screenshots"_s;
    QDir().mkpath(folder);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    Theme::apply(app);
    return folder;
}

bool save(QWidget& view, const QString& folder, const QString& name)
{
    view.adjustSize();
    // adjustSize keeps a window within part of the screen; the panel asks for its full height.
    view.resize(view.size().expandedTo(view.sizeHint()));
    QCoreApplication::processEvents();
    return view.grab().save(folder + u'/' + name + u".png"_s);
}

void personWithPlan(const QString& home, const QList<PlanItem>& plan)
{
    Profile profile = Profile::defaults(home);
    profile.onboarded = true;
    Store::saveProfile(profile);
    for (const PlanItem& item : plan) {
        QFile file(item.src.toLocalFile());
        if (file.open(QIODevice::ReadWrite))
            file.setFileTime(QDateTime(QDate(2026, 3, 4), QTime(17, 7)), QFileDevice::FileModificationTime);
    }
    Store::savePlan(plan);
}

} // namespace Screenshots
