#pragma once

class QAccessibleInterface;
class QObject;
class QString;

// A tab bar as assistive tools should see it: the chosen tab is "selected", and "focused" only
// while the tab bar itself has the keyboard focus. Qt's own reports the chosen tab as focused
// always, so a screen reader hears two focused things at once.
namespace AccessibleTabs {

// An accessibility factory: answers for QTabBar, nothing else.
QAccessibleInterface* forTabBar(const QString& className, QObject* object);

} // namespace AccessibleTabs
