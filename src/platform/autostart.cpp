#include "autostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

// A program path as the Exec key wants it: quoted when it holds anything a desktop would split
// or expand, with the characters that are special inside quotes escaped; "%" is always doubled,
// since desktops read it as a field code.
QString execArgument(const QString& path)
{
    QString escaped;
    bool quote = false;
    for (const QChar c : path) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') {
            escaped += u'\\';
            quote = true;
        } else if (c.isSpace() || QStringView(u"'><~|&;*?#()").contains(c)) {
            quote = true;
        }
        escaped += c;
    }
    escaped.replace(u"%"_s, u"%%"_s);
    return quote ? u'"' + escaped + u'"' : escaped;
}

} // namespace

Autostart::Autostart()
    : Autostart(defaultEntryPath(), QCoreApplication::applicationFilePath())
{ }

Autostart::Autostart(const QString& entryPath, const QString& program)
    : m_entryPath(entryPath)
    , m_program(program)
{ }

QString Autostart::defaultEntryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/autostart/brindlow.desktop"_s;
}

QString Autostart::entryPath() const
{
    return m_entryPath;
}

bool Autostart::isOn() const
{
    return QFileInfo::exists(m_entryPath);
}

QByteArray Autostart::entry() const
{
    const QString text = u"[Desktop Entry]\n"
                         u"Type=Application\n"
                         u"Name=Brindlow\n"
                         u"Comment=Sorts new files into folders after you review the plan\n"
                         u"Exec="_s
        + execArgument(m_program)
        + u"\n"
          u"Icon=brindlow\n"
          u"Terminal=false\n"
          u"X-GNOME-Autostart-enabled=true\n"_s;
    return text.toUtf8();
}

bool Autostart::setOn(bool on) const
{
    if (!on)
        return !QFileInfo::exists(m_entryPath) || QFile::remove(m_entryPath);
    if (!QDir().mkpath(QFileInfo(m_entryPath).absolutePath()))
        return false;
    QSaveFile file(m_entryPath);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(entry());
    return file.commit();
}
