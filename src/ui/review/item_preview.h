#pragma once

#include "model/file_kind.h"

#include <QDialog>
#include <QFutureWatcher>
#include <QImage>

#include "model/file_kind.h"

#include <optional>

class QLabel;
class QPlainTextEdit;

// A closer look at one file: a bigger picture (or the first page, or the start of a text file),
// the full name, where it goes and why, its size and where it was downloaded from; Open, Show in
// folder, and Play for sound and video (in the desktop's own player). Escape closes it. The
// picture, the text and the origin are read in the background; they fill in when they come.
class ItemPreview : public QDialog
{
    Q_OBJECT

public:
    static constexpr QSize kPictureBox {560, 420};

    ItemPreview(const QModelIndex& index, QWidget* parent = nullptr);

private:
    QLayout* buildActions(const QString& path, FileKind kind);
    QLayout* buildDetails(const QModelIndex& index);

    struct Loaded
    {
        QImage picture;
        std::optional<QString> text; // the start of a text file
        std::optional<QString> origin;
    };

    static constexpr qint64 kTextBytes = 64 * 1024;

    QLabel* m_picture;
    QPlainTextEdit* m_text;
    QLabel* m_origin;
    QFutureWatcher<Loaded> m_loading;
};
