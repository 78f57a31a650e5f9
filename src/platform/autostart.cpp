#include "autostart.h"

#include "file_identity.h"
#include "file_io.h"
#include "staged_file.h"
#include "trash.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

#include <sys/stat.h>

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

// Far more than any entry holds; a larger file is not read whole.
constexpr qint64 kMaxEntryBytes = 64 * 1024;

// Desktops pass over an entry that is hidden, and GNOME one that is switched off, as if it were
// not there. Only the main group counts: actions have keys of their own.
bool startsAtLogin(const QByteArray& text)
{
    bool mainGroup = false;
    for (const QByteArray& line : text.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.startsWith('[')) {
            mainGroup = trimmed == "[Desktop Entry]";
            continue;
        }
        const qsizetype equals = trimmed.indexOf('=');
        if (!mainGroup || equals < 0)
            continue;
        const QByteArray key = trimmed.left(equals).trimmed();
        const QByteArray value = trimmed.mid(equals + 1).trimmed();
        if ((key == "Hidden" && value == "true") || (key == "X-GNOME-Autostart-enabled" && value == "false"))
            return false;
    }
    return true;
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
    const std::optional<QByteArray> text = FileIo::readHead(m_entryPath, kMaxEntryBytes);
    return text && startsAtLogin(*text);
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
    const FileIdentity present = FileIdentity::ofEntry(m_entryPath);
    // An entry exactly as written here is ours to keep or remove. Anything else, a link above all,
    // is the person's: it goes to the trash, where it can be taken back, and is never written
    // through.
    const bool ours = present.isRegular() && FileIo::readRegular(m_entryPath, kMaxEntryBytes) == entry();
    if (!on) {
        if (!present.exists())
            return true;
        return ours ? QFile::remove(m_entryPath) : Trash::move(m_entryPath);
    }
    if (ours)
        return true;
    StagedFile file(m_entryPath, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    return file.write(entry()) && file.finish() && file.place();
}
