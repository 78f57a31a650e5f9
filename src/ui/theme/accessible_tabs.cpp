#include "accessible_tabs.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>
#include <QTabBar>

using namespace Qt::Literals::StringLiterals;

namespace AccessibleTabs {

namespace {

// One tab: not an object of its own, so it is known by its bar and its index.
class Tab : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    Tab(QTabBar* bar, int index)
        : m_bar(bar)
        , m_index(index)
    { }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    bool isValid() const override
    {
        return m_bar && m_index < m_bar->count();
    }

    QObject* object() const override
    {
        return nullptr;
    }

    QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_bar.data());
    }

    QAccessibleInterface* child(int) const override
    {
        return nullptr;
    }

    int childCount() const override
    {
        return 0;
    }

    int indexOfChild(const QAccessibleInterface*) const override
    {
        return -1;
    }

    QAccessibleInterface* childAt(int, int) const override
    {
        return nullptr;
    }

    QString text(QAccessible::Text t) const override
    {
        if (!isValid())
            return {};
        if (t == QAccessible::Name) {
            const QString name = m_bar->accessibleTabName(m_index);
            return name.isEmpty() ? QString(m_bar->tabText(m_index)).remove(u'&') : name;
        }
        if (t == QAccessible::Description)
            return m_bar->tabToolTip(m_index);
        return {};
    }

    void setText(QAccessible::Text, const QString&) override
    { }

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect local = m_bar->tabRect(m_index);
        return QRect(m_bar->mapToGlobal(local.topLeft()), local.size());
    }

    QAccessible::Role role() const override
    {
        return QAccessible::PageTab;
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        const bool current = m_bar->currentIndex() == m_index;
        const QRect shown = m_bar->tabRect(m_index).intersected(m_bar->rect());
        state.invisible = !m_bar->isVisible() || !m_bar->isTabVisible(m_index) || shown.isEmpty();
        state.offscreen = state.invisible;
        state.disabled = !m_bar->isTabEnabled(m_index);
        state.selectable = true;
        state.focusable = true;
        state.selected = current;
        state.focused = current && m_bar->hasFocus();
        return state;
    }

    QStringList actionNames() const override
    {
        return {pressAction()};
    }

    void doAction(const QString& name) override
    {
        if (isValid() && name == pressAction())
            m_bar->setCurrentIndex(m_index);
    }

    QStringList keyBindingsForAction(const QString&) const override
    {
        return {};
    }

private:
    QPointer<QTabBar> m_bar;
    int m_index;
};

// The bar: its tabs first, then its own buttons (the scroll arrows), as Qt orders them.
class Bar : public QAccessibleWidget
{
public:
    explicit Bar(QTabBar* bar)
        : QAccessibleWidget(bar, QAccessible::PageTabList)
    { }

    ~Bar() override
    {
        for (const QAccessible::Id id : std::as_const(m_tabs))
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override
    {
        return bar()->count() + int(buttons().size());
    }

    QAccessibleInterface* child(int index) const override
    {
        if (index < 0)
            return nullptr;
        if (index < bar()->count()) {
            if (const auto id = m_tabs.constFind(index); id != m_tabs.cend())
                return QAccessible::accessibleInterface(*id);
            auto* tab = new Tab(bar(), index);
            m_tabs.insert(index, QAccessible::registerAccessibleInterface(tab));
            return tab;
        }
        const QList<QWidget*> own = buttons();
        const int button = index - bar()->count();
        return button < own.size() ? QAccessible::queryAccessibleInterface(own.at(button)) : nullptr;
    }

    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (auto it = m_tabs.cbegin(); it != m_tabs.cend(); ++it) {
            if (QAccessible::accessibleInterface(it.value()) == child)
                return it.key();
        }
        const int button = int(buttons().indexOf(qobject_cast<QWidget*>(child ? child->object() : nullptr)));
        return button < 0 ? -1 : bar()->count() + button;
    }

    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name && bar()->accessibleName().isEmpty())
            return bar()->tabText(bar()->currentIndex());
        return QAccessibleWidget::text(t);
    }

private:
    QTabBar* bar() const
    {
        return static_cast<QTabBar*>(widget());
    }

    QList<QWidget*> buttons() const
    {
        return bar()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    }

    mutable QHash<int, QAccessible::Id> m_tabs;
};

} // namespace

QAccessibleInterface* forTabBar(const QString& className, QObject* object)
{
    if (className != u"QTabBar"_s)
        return nullptr;
    auto* bar = qobject_cast<QTabBar*>(object);
    return bar ? new Bar(bar) : nullptr;
}

} // namespace AccessibleTabs
