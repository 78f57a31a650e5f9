#include "spoken.h"

#include <QAccessible>
#include <QLabel>

namespace Spoken {

void setText(QLabel* label, const QString& text)
{
    if (label->text() == text && label->accessibleName() == text)
        return;
    label->setText(text);
    // Setting the name is what announces it; a label whose name already matched says so itself.
    const bool announced = label->accessibleName() != text;
    label->setAccessibleName(text);
    if (!announced) {
        QAccessibleEvent named(label, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&named);
    }
}

} // namespace Spoken
