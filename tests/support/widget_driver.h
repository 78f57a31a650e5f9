#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include <algorithm>

// A person's way through a window: what is shown, and the controls found by their accessible
// names, as a screen reader finds them. Only for tests that link the widgets.
namespace WidgetDriver {

// Every text a person can see in `root` right now: labels, then buttons.
inline QStringList shownTexts(const QWidget& root)
{
    QStringList texts;
    for (const QLabel* label : root.findChildren<QLabel*>()) {
        if (label->isVisibleTo(&root) && !label->text().isEmpty())
            texts.append(label->text());
    }
    for (const QAbstractButton* button : root.findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(&root) && !button->text().isEmpty())
            texts.append(button->text());
    }
    return texts;
}

template <typename T = QAbstractButton>
T* control(const QWidget& root, const QString& name, bool visibleOnly = true)
{
    for (T* widget : root.findChildren<T*>()) {
        if (widget->accessibleName() == name && (!visibleOnly || widget->isVisibleTo(&root)))
            return widget;
    }
    return nullptr;
}

inline void click(QAbstractButton* button)
{
    QVERIFY2(button, "no such control");
    QVERIFY2(button->isEnabled(), qPrintable(button->accessibleName() + QStringLiteral(" is disabled")));
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
}

inline void type(QLineEdit* field, const QString& text)
{
    QVERIFY2(field, "no such field");
    field->setFocus();
    QTest::keyClicks(field, text);
}

// The entries a person sees in a menu, in order.
inline QStringList menuTexts(const QMenu& menu)
{
    QStringList texts;
    for (const QAction* action : menu.actions()) {
        if (action->isVisible() && !action->isSeparator())
            texts.append(action->text());
    }
    return texts;
}

// Opens the menu, as a right click on the tray icon does, and clicks the entry of that text.
inline void choose(QMenu* menu, const QString& text)
{
    QVERIFY2(menuTexts(*menu).contains(text), qPrintable(text + QStringLiteral(" is not on the menu")));
    menu->popup(QPoint(0, 0));
    QVERIFY(QTest::qWaitForWindowExposed(menu));
    const QList<QAction*> actions = menu->actions();
    QAction* action = *std::find_if(actions.cbegin(), actions.cend(), [&text](const QAction* entry) {
        return entry->isVisible() && entry->text() == text;
    });
    QVERIFY2(action->isEnabled(), qPrintable(text + QStringLiteral(" is disabled")));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    QTRY_VERIFY(!menu->isVisible());
}

// The text of the label a screen reader knows by `accessibleName`.
inline QString label(const QWidget& root, const QString& accessibleName)
{
    const QLabel* found = control<QLabel>(root, accessibleName);
    return found ? found->text() : QStringLiteral("(none)");
}

// Layout in batches and deferred deletes both run from the event loop, without any timer.
inline void settle()
{
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

} // namespace WidgetDriver
