#pragma once

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

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
