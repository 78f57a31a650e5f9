#pragma once

#include <QWidget>

#include <functional>

class History;
class HistoryFilesModel;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeView;
class QTreeWidget;

// "Move history": every apply, newest first, and the files of the one selected or of a search
// across all of them. From here the newest apply can be undone whole, and single files of any
// apply put back, shown in their folder or opened.
class HistoryWindow : public QWidget
{
    Q_OBJECT

public:
    using Opener = std::function<void(const QString& path)>;

    explicit HistoryWindow(History& history, QWidget* parent = nullptr);

    // How files and folders are handed to the desktop; its own programs unless replaced.
    void setOpeners(Opener open, Opener showFolder);

    QTreeWidget* appliesView() const;
    QTreeView* filesView() const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* buildApplies();
    QWidget* buildFiles();
    void showApplies();
    void showFiles();
    void updateButtons();
    void undoApply();
    void putBack();
    void openCurrent(const Opener& opener);
    void say(const QString& text);
    int currentApply() const;
    // The rows selected in the files, in order.
    QList<int> selectedRows() const;

    History& m_history;
    QTreeWidget* m_applies;
    QLineEdit* m_search;
    QTreeView* m_files;
    HistoryFilesModel* m_model;
    QPushButton* m_undo;
    QPushButton* m_putBack;
    QPushButton* m_showFolder;
    QPushButton* m_open;
    QLabel* m_message;
    Opener m_openFile;
    Opener m_openFolder;
    QString m_selected; // the log of the apply selected, kept across a new read
    bool m_asked = false; // an undo or a put-back asked for here runs
};
