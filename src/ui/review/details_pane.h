#pragma once

#include <QDateTime>
#include <QFutureWatcher>
#include <QWidget>

class NameEditor;
class PlanReview;
class Preferences;
class QLabel;
class QPushButton;
class ThumbCache;
struct PlanItem;

// Everything about the item in hand: its picture, full name, where it is and where it goes,
// the name it gets (editable for files), why, how sure Brindlow is, its size and date, and for a
// duplicate which copy stays. Open, show in its folder, send it elsewhere, make a rule of it.
// Refreshing is labels only; the picture and the date come from the background.
class DetailsPane : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kWidth = 300;

    DetailsPane(PlanReview& review, Preferences& preferences, ThumbCache& thumbs, QWidget* parent = nullptr);

    // Shows the item with this id, or nothing for -1.
    void showItem(qint64 id);
    qint64 itemId() const;
    NameEditor* nameEditor() const;

Q_SIGNALS:
    void moveRequested(const QList<qint64>& ids, const QPoint& globalPos);
    // "Always do this for files like this…" for the item shown.
    void ruleRequested(qint64 id);

private:
    void buildLayout();
    QWidget* buildActions();
    void connectParts();
    void refresh();
    void showPicture(const PlanItem& item);
    void showDuplicate(const PlanItem& item);
    void keepInstead();
    QString goesTo(const PlanItem& item) const;

    PlanReview& m_review;
    Preferences& m_preferences;
    ThumbCache& m_thumbs;
    qint64 m_id = -1;
    QString m_picturePath;
    QWidget* m_body;
    QWidget* m_scroll;
    class QFormLayout* m_form;
    QLabel* m_empty;
    QLabel* m_picture;
    QLabel* m_name;
    QLabel* m_folder;
    QLabel* m_destination;
    NameEditor* m_newName;
    QLabel* m_folderName;
    QLabel* m_reason;
    QLabel* m_confidence;
    QLabel* m_size;
    QLabel* m_date;
    QLabel* m_duplicate;
    QPushButton* m_keepInstead;
    QPushButton* m_moveTo;
    QPushButton* m_always;
    QFutureWatcher<std::pair<qint64, QDateTime>> m_dating;
};
