#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

// The program's windows by id ("onboarding", "review", "recap", "zen", "settings", "history"):
// each exists at most once, is made when first asked for, and is brought forward when asked for
// again.
class WindowRegistry : public QObject
{
    Q_OBJECT

public:
    using Factory = std::function<QWidget*()>;

    using QObject::QObject;
    ~WindowRegistry() override;

    void add(const QString& id, Factory factory);
    // False for an id without a window yet: nothing is shown rather than a stand-in.
    bool open(const QString& id);
    QWidget* window(const QString& id) const;

private:
    QHash<QString, Factory> m_factories;
    QHash<QString, QPointer<QWidget>> m_windows;
};
