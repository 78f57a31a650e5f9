#include "screenshots.h"

#include "ui/theme/theme.h"

#include <QApplication>
#include <QDir>
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

} // namespace Screenshots
