#include "refusal_line.h"

#include "controller/activity.h"
#include "ui/theme/spoken.h"
#include "ui/theme/theme.h"

RefusalLine::RefusalLine(Activity& activity, QWidget* parent)
    : QLabel(parent)
{
    setWordWrap(true);
    QPalette warning = palette();
    warning.setColor(QPalette::WindowText, Theme::amberDeep);
    setPalette(warning);
    hide();
    connect(&activity, &Activity::refused, this, [this](const QString& reason) {
        if (!parentWidget() || !parentWidget()->isVisible())
            return;
        show();
        Spoken::setText(this, reason);
    });
    connect(&activity, &Activity::phaseChanged, this, &QWidget::hide);
}
