#include "temp_home.h"

#include "model/store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
const char* const kVariables[] = {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"};
}

TempHome::TempHome()
{
    for (const char* name : kVariables) {
        m_saved.insert(name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt);
    }
    const QByteArray home = QFile::encodeName(m_dir.path());
    qputenv("HOME", home);
    qputenv("XDG_DATA_HOME", home + "/.local/share");
    qputenv("XDG_CONFIG_HOME", home + "/.config");
    qputenv("XDG_CACHE_HOME", home + "/.cache");
}

TempHome::~TempHome()
{
    for (auto it = m_saved.cbegin(); it != m_saved.cend(); ++it) {
        if (it.value())
            qputenv(it.key().constData(), *it.value());
        else
            qunsetenv(it.key().constData());
    }
}

QString TempHome::path() const
{
    return m_dir.path();
}

QString TempHome::supportDir() const
{
    return m_dir.path() + u"/.local/share/Brindlow"_s;
}

QString TempHome::writeFile(const QString& relativePath, const QByteArray& bytes) const
{
    const QString full = m_dir.path() + u'/' + relativePath;
    QDir().mkpath(QFileInfo(full).absolutePath());
    QFile file(full);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("TempHome: cannot write %s", qPrintable(full));
    return full;
}

Profile TempHome::saveProfile(bool onboarded, const QList<Project>& projects) const
{
    Profile profile = Profile::defaults(path());
    profile.onboarded = onboarded;
    profile.projects = projects;
    Store::saveProfile(profile);
    return profile;
}
