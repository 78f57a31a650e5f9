#include "texts.h"

#include "ui/theme/theme.h"

#include <QLabel>
#include <QLineEdit>

using namespace Qt::Literals::StringLiterals;

namespace Texts {

QLabel* label(const QString& text, Style style, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(style != Style::caption);
    QFont font = label->font();
    switch (style) {
        case Style::heading:
            font.setPixelSize(20);
            font.setWeight(QFont::DemiBold);
            break;
        case Style::title:
            font.setPixelSize(13);
            font.setWeight(QFont::DemiBold);
            break;
        case Style::body:
            font.setPixelSize(13);
            break;
        case Style::detail:
            font.setPixelSize(12);
            label->setForegroundRole(QPalette::PlaceholderText);
            break;
        case Style::caption:
            font.setPixelSize(11);
            font.setWeight(QFont::DemiBold);
            font.setLetterSpacing(QFont::AbsoluteSpacing, 0.8);
            label->setForegroundRole(QPalette::PlaceholderText);
            break;
    }
    label->setFont(font);
    return label;
}

void styleField(QLineEdit* field)
{
    field->setMinimumHeight(32);
    QFont font = field->font();
    font.setPixelSize(13);
    field->setFont(font);
    field->setStyleSheet(u"QLineEdit { background: %1; border: 1px solid %2; border-radius: 8px; padding: 0 8px; }"
                         u" QLineEdit:focus { border: 1px solid %3; }"_s.arg(
                             Theme::surface.name(), Theme::stone.name(), Theme::amberDeep.name()));
}

} // namespace Texts
