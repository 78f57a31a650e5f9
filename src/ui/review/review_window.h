#pragma once

#include "controller/controller_parts.h"

#include <QHash>
#include <QPointer>
#include <QWidget>

#include <memory>

class DestinationChoices;
class DetailsPane;
class JunkPage;
class NeedsPage;
class OrganizePage;
class PlanModel;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QTabBar;
class RenamePage;
class RuleEditor;
class ReviewFooter;
class ReviewSidebar;
class ThumbCache;

// "Your fresh start": where the person looks over the plan before anything moves. It wires the
// sidebar, the four tabs, the filter field and the footer together; each of those keeps its own
// logic, and every edit goes straight to the controller.
class ReviewWindow : public QWidget
{
    Q_OBJECT

public:
    // Fits a 1280 x 720 screen with its title bar and a panel; every control stays reachable
    // down to 1280 x 680.
    static constexpr QSize kDefaultSize {1240, 660};

    // Without `thumbs` the window makes its own thumbnail cache.
    explicit ReviewWindow(const ControllerParts& parts, ThumbCache* thumbs = nullptr, QWidget* parent = nullptr);
    ~ReviewWindow() override;

    QTabBar* tabs() const;
    OrganizePage* organizePage() const;
    RenamePage* renamePage() const;
    JunkPage* junkPage() const;
    NeedsPage* needsPage() const;
    ReviewSidebar* sidebar() const;
    QLineEdit* filterField() const;
    DetailsPane* details() const;
    DestinationChoices* choices() const;
    void showTab(int tab);
    // Shows or hides the details pane, and remembers it for the next window.
    void setDetailsShown(bool shown);
    // Offers "Move to…" for these items at that point and makes the choice.
    void moveItems(const QList<qint64>& ids, const QPoint& globalPos);
    // "Always do this for files like this…": the rule editor, prefilled from the item.
    void openRuleEditor(qint64 id);
    RuleEditor* ruleEditor() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void updateTabTitles();
    void updateUnsaved();
    void updateEmptyState();
    void openPreview(const QModelIndex& index);
    void showContextMenu(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos);
    void tabChanged(int tab);
    void connectDetails();
    void restoreDetailsShown();
    QWidget* buildContent();
    void buildNavigation(QWidget* content);
    void buildPages(QWidget* content);
    void connectPages(ReviewFooter* footer);
    void addShortcuts();

    ControllerParts m_parts;
    std::unique_ptr<ThumbCache> m_ownThumbs;
    ThumbCache* m_thumbs;
    PlanModel* m_plan;
    QStackedWidget* m_whole;
    QWidget* m_empty;
    QWidget* m_content;
    QTabBar* m_tabs;
    QStackedWidget* m_pages;
    QLineEdit* m_filter;
    QLabel* m_unsaved;
    ReviewSidebar* m_sidebar;
    OrganizePage* m_organize;
    RenamePage* m_rename;
    JunkPage* m_junk;
    NeedsPage* m_needs;
    DestinationChoices* m_choices;
    DetailsPane* m_details;
    QPushButton* m_detailsToggle;
    QHash<int, qint64> m_currentOf; // tab -> the item last in hand there
    QPointer<RuleEditor> m_ruleEditor;
};
