#include "texts.h"

#include <QLabel>

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

} // namespace Texts
