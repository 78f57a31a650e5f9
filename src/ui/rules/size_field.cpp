#include "size_field.h"

#include "ui/settings/texts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QLocale>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kUnits[] = {1'000, 1'000'000, 1'000'000'000};
// Far beyond any disk, and far from where a size in bytes would overflow.
constexpr double kLargest = 1e15;

} // namespace

SizeField::SizeField(const QString& name, QWidget* parent)
    : QWidget(parent)
    , m_number(new QLineEdit(this))
    , m_unit(new QComboBox(this))
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_number->setAccessibleName(name);
    m_number->setPlaceholderText(tr("Any"));
    Texts::styleField(m_number);
    m_number->setFixedWidth(84);
    m_unit->addItems({tr("KB"), tr("MB"), tr("GB")});
    m_unit->setCurrentIndex(1);
    m_unit->setAccessibleName(tr("%1 unit").arg(name));
    m_unit->setMinimumHeight(32);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(m_number);
    layout->addWidget(m_unit);
    connect(m_number, &QLineEdit::textChanged, this, &SizeField::changed);
    connect(m_unit, &QComboBox::currentIndexChanged, this, &SizeField::changed);
}

qint64 SizeField::unitBytes(int unit)
{
    return kUnits[qBound(0, unit, 2)];
}

SizeField::Value SizeField::value() const
{
    const QString text = m_number->text().trimmed();
    if (text.isEmpty())
        return {};
    bool ok = false;
    double number = QLocale().toDouble(text, &ok);
    // A point is a decimal point to most people, whatever the desktop's language says.
    if (!ok)
        number = QLocale::c().toDouble(text, &ok);
    if (!ok || !std::isfinite(number) || std::abs(number * double(unitBytes(m_unit->currentIndex()))) > kLargest)
        return {false, std::nullopt};
    return {true, std::llround(number * double(unitBytes(m_unit->currentIndex())))};
}

void SizeField::setBytes(const std::optional<qint64>& bytes)
{
    if (!bytes) {
        m_number->clear();
        return;
    }
    int unit = 0;
    while (unit < 2 && *bytes >= unitBytes(unit + 1))
        ++unit;
    m_unit->setCurrentIndex(unit);
    // Up to two decimals, none when the size is whole in its unit.
    QString text = QLocale().toString(double(*bytes) / double(unitBytes(unit)), 'f', 2);
    const QString point = QLocale().decimalPoint();
    if (text.contains(point)) {
        while (text.endsWith(u'0'))
            text.chop(1);
        if (text.endsWith(point))
            text.chop(point.size());
    }
    m_number->setText(text);
}

QLineEdit* SizeField::number() const
{
    return m_number;
}

QComboBox* SizeField::unit() const
{
    return m_unit;
}
