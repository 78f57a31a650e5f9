#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

// A file's new name as the person types it: the part before the extension in a field, and the
// extension beside it, out of reach, since a changed extension would hide what the file is.
class NameEditor : public QWidget
{
    Q_OBJECT

public:
    explicit NameEditor(QWidget* parent = nullptr);

    // Shows `name` split at its last dot, the part after the dot being `extension`.
    void setName(const QString& name, const QString& extension);
    QString stem() const;
    QLineEdit* field() const;

Q_SIGNALS:
    // Enter, or the field left with a changed text.
    void submitted(const QString& stem);

private:
    QLineEdit* m_field;
    QLabel* m_extension;
    QString m_shown;
};
