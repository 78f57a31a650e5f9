#pragma once

#include <QString>
#include <QStringList>

// Starts another program that outlives this one. Tests put a recorder in its place, so that
// nothing is really started.
class ProgramLauncher
{
public:
    virtual ~ProgramLauncher() = default;
    // False when the program could not be started.
    virtual bool startDetached(const QString& program, const QStringList& arguments) const = 0;
};

class SystemProgramLauncher final : public ProgramLauncher
{
public:
    bool startDetached(const QString& program, const QStringList& arguments) const override;

    static const SystemProgramLauncher& instance();
};
