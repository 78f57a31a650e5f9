#pragma once

#include <QWidget>

#include <optional>

class QComboBox;
class QLineEdit;

// A size as a person writes it: a number and a unit (KB, MB, GB, counted in thousands like the
// sizes Brindlow shows). Empty means no size.
class SizeField : public QWidget
{
    Q_OBJECT

public:
    // `name` is what a screen reader calls the number; the unit is "<name> unit".
    SizeField(const QString& name, QWidget* parent = nullptr);

    struct Value
    {
        bool ok = true; // false: the text is not a number
        std::optional<qint64> bytes;
    };
    Value value() const;
    void setBytes(const std::optional<qint64>& bytes);
    QLineEdit* number() const;
    QComboBox* unit() const;

    // Bytes in one unit, by the unit's index.
    static qint64 unitBytes(int unit);

Q_SIGNALS:
    void changed();

private:
    QLineEdit* m_number;
    QComboBox* m_unit;
};
