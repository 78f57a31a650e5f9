#include "accessible_windows.h"

#include "accessible_tabs.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace AccessibleWindows {

namespace {

// Asked for each class of an object from the most derived up; reaching QWidget itself means no
// class on the way had a role of its own.
QAccessibleInterface* frameForWindow(const QString& className, QObject* object)
{
    if (className != u"QWidget"_s || !object || !object->isWidgetType())
        return nullptr;
    auto* widget = static_cast<QWidget*>(object);
    if (!widget->isWindow())
        return nullptr;
    return new QAccessibleWidget(widget, QAccessible::Window);
}

} // namespace

void install()
{
    static const bool installed = [] {
        QAccessible::installFactory(frameForWindow);
        QAccessible::installFactory(AccessibleTabs::forTabBar);
        return true;
    }();
    (void)installed;
}

} // namespace AccessibleWindows
