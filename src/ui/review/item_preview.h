#pragma once

#include <QDialog>
#include <QFutureWatcher>
#include <QImage>

#include <optional>

class QLabel;

// A closer look at one file: a bigger picture (or the first page), the full name, where it goes
// and why, its size and where it was downloaded from. Escape closes it. The picture and the
// origin are read in the background; the labels fill in when they come.
class ItemPreview : public QDialog
{
    Q_OBJECT

public:
    static constexpr QSize kPictureBox {560, 420};

    ItemPreview(const QModelIndex& index, QWidget* parent = nullptr);

private:
    struct Loaded
    {
        QImage picture;
        std::optional<QString> origin;
    };

    QLabel* m_picture;
    QLabel* m_origin;
    QFutureWatcher<Loaded> m_loading;
};
