// Renders the review window on each tab over a sample plan (long names, thousands of files, real
// pictures) to PNG files for the README and for checking the look by eye. Not a test:
// `make screenshots`.
#include "controller/app_state.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "model/store.h"
#include "screenshots.h"
#include "support/file_factory.h"
#include "support/plan_factory.h"
#include "support/temp_home.h"
#include "ui/review/destination_choices.h"
#include "ui/review/move_to_menu.h"
#include "ui/review/needs_page.h"
#include "ui/review/organize_page.h"
#include "ui/review/plan_list_view.h"
#include "ui/review/rename_page.h"
#include "ui/review/review_window.h"
#include "ui/theme/theme.h"
#include "ui/theme/window_fit.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QTabBar>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

// A landscape of soft bands in the given hue: enough like a photo for the grid to read as one.
void photo(const QString& path, int hue)
{
    QImage image(1200, 900, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, 900);
    sky.setColorAt(0, QColor::fromHsv(hue, 90, 250));
    sky.setColorAt(1, QColor::fromHsv((hue + 40) % 360, 160, 190));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((hue + 180) % 360, 60, 250));
    painter.drawEllipse(QPointF(300 + hue % 500, 260), 110, 110);
    painter.setBrush(QColor::fromHsv((hue + 20) % 360, 180, 120));
    painter.drawRect(0, 620 - hue % 90, 1200, 400);
    painter.end();
    FileFactory::write(path, {});
    image.save(path, "JPEG", 80);
}

// `wanted`: the size the window asks for; none keeps the size it has (the smallest it allows).
bool save(ReviewWindow& window,
          const QString& folder,
          const QString& name,
          std::optional<QSize> wanted = ReviewWindow::kDefaultSize)
{
    // As a 1280 x 720 laptop with a desktop panel shows it, not at its full size.
    if (wanted)
        WindowFit::fit(&window, *wanted, QRect(0, 28, 1280, 692));
    QCoreApplication::processEvents();
    // Thumbnails come from worker threads; the picture should show them, not their placeholders.
    const QDeadlineTimer deadline(15000);
    while (window.organizePage()->pendingThumbnails() > 0 && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(10);
    }
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
    return window.grab().save(folder + u'/' + name + u".png"_s);
}

QList<PlanItem> samplePlan(const QString& home)
{
    const QString downloads = home + u"/Downloads"_s;
    QList<PlanItem> plan;
    qint64 id = 1;
    const auto add = [&](const QString& name, const Category& category, const QString& dest) -> PlanItem& {
        plan.append(PlanFactory::item(downloads, id++, name, category, dest));
        return plan.last();
    };
    const QStringList places {u"Lisbon"_s, u"Harbour"_s, u"Garden"_s, u"Birthday"_s, u"Hike"_s, u"Market"_s};
    for (int i = 0; i < 48; ++i) {
        const QString name = i % 7 == 3 ? u"Screenshot 2026-03-0%1 at 17.07.%2.png"_s.arg(i % 9 + 1).arg(10 + i)
            : i % 5 == 0
            ? u"IMG_2026031%1_%2_very_long_camera_file_name_from_the_phone_backup.jpg"_s.arg(i % 10).arg(1000 + i)
            : u"%1 %2.jpg"_s.arg(places[i % places.size()]).arg(i + 1);
        PlanItem& item = add(name, Category::user, u"Photos/2026"_s);
        photo(item.src.toLocalFile(), (i * 37) % 360);
        item.kind = FileKind::image;
        item.size = 2'400'000 + i * 7'919;
        item.reason = u"A photo taken in March 2026"_s;
        if (i % 4 == 1) {
            item.newName = u"2026-03 %1 %2.jpg"_s.arg(places[i % places.size()]).arg(i + 1);
            item.renameApproved = true;
        }
        item.approved = i % 9 != 4;
    }
    const QList<QPair<QString, QString>> documents {{u"Work/Invoices"_s, u"invoice"_s},
                                                    {u"Finance/Statements"_s, u"statement"_s},
                                                    {u"Personal/Letters"_s, u"letter"_s}};
    for (int i = 0; i < 2'350; ++i) {
        const auto& [dest, stem] = documents[i % documents.size()];
        PlanItem& item = add(u"%1-%2.pdf"_s.arg(stem).arg(i, 4, 10, QLatin1Char('0')), Category::user, dest);
        item.kind = FileKind::pdf;
        item.reason = u"A %1 by its contents"_s.arg(stem);
    }
    for (int i = 0; i < 1'260; ++i) {
        PlanItem& item = add(u"setup-tool-%1-x86_64-linux-gnu.deb"_s.arg(i),
                             Category::junk,
                             u"Brindlow Review/To Delete - Review First/Installers"_s);
        item.kind = FileKind::installer;
        item.size = 84'000'000 + i * 1'000;
    }
    for (int i = 0; i < 40; ++i) {
        PlanItem& item = add(
            u"report final (%1).pdf"_s.arg(i + 1), Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s);
        item.size = 1'200'000;
        item.keptCopy = home + u"/Documents/Reports/report final.pdf"_s;
    }
    for (int i = 0; i < 14; ++i) {
        PlanItem& item = add(i < 6 ? u"penwick-draft-%1.docx"_s.arg(i + 1) : u"untitled scan %1.pdf"_s.arg(i),
                             Category::needsYou,
                             u"Brindlow Review/Needs You"_s);
        item.reason = i < 6 ? u"Mentions Penwick, which is no project yet"_s : u"Could be a receipt or a letter"_s;
        if (i < 6)
            item.suggestedProject = u"Penwick"_s;
    }
    return plan;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    TempHome home;
    for (const QString& made : {u"Documents/Taxes"_s, u"Documents/Recipes"_s, u"Documents/Car"_s})
        QDir(home.path()).mkpath(made);
    Screenshots::personWithPlan(home.path(), samplePlan(home.path()));

    AppState state;
    state.init();
    ReviewWindow window(state.parts());
    window.show();
    bool ok = true;
    const QStringList names {u"review-organize"_s, u"review-rename"_s, u"review-junk"_s, u"review-needs"_s};
    // The details pane over the first file of each tab, at the window's own size and at the
    // size of a small laptop screen.
    for (const QSize size : {ReviewWindow::kDefaultSize, QSize(1280, 680)}) {
        window.resize(size);
        const bool smallest = size != ReviewWindow::kDefaultSize;
        const QString suffix = smallest ? u"-1280x680"_s : QString();
        for (int tab = 0; tab < names.size(); ++tab) {
            window.showTab(tab);
            QCoreApplication::processEvents();
            if (tab == 0)
                window.organizePage()->grid()->setCurrentIndex(window.organizePage()->grid()->model()->index(1, 0));
            if (tab == 1)
                window.renamePage()->list()->setCurrentIndex(window.renamePage()->list()->model()->index(0, 0));
            if (tab == 3)
                window.needsPage()->list()->setCurrentIndex(window.needsPage()->list()->model()->index(0, 0));
            ok &= save(window, folder, names[tab] + suffix, smallest ? std::nullopt : std::optional(size));
        }
    }
    window.resize(ReviewWindow::kDefaultSize);

    // A choice just made on Needs You: the row stays, with where it goes and Undo.
    window.showTab(3);
    NeedsPage* needs = window.needsPage();
    const QModelIndex first = needs->list()->model()->index(0, 0);
    needs->send({first.data(PlanModel::IdRole).toLongLong()}, u"Archive"_s);
    ok &= save(window, folder, u"review-needs-undo"_s);

    // A name typed in place on the rename tab.
    window.showTab(1);
    PlanListView* renames = window.renamePage()->list();
    renames->setCurrentIndex(renames->model()->index(0, 0));
    renames->edit(renames->currentIndex());
    ok &= save(window, folder, u"review-rename-editing"_s);

    // A duplicate in hand: which copy stays, and "Keep this one instead".
    window.showTab(2);
    const qint64 duplicate = state.review().plan().at(state.review().plan().size() - 15).id;
    for (PlanListView* list : window.findChildren<PlanListView*>()) {
        for (int row = 0; row < list->model()->rowCount(); ++row) {
            if (list->model()->index(row, 0).data(PlanModel::IdRole).toLongLong() == duplicate)
                list->setCurrentIndex(list->model()->index(row, 0));
        }
    }
    ok &= save(window, folder, u"review-junk-duplicate"_s);

    // The details pane hidden (Ctrl+I), and "Move to…" open over the grid.
    window.showTab(0);
    window.setDetailsShown(false);
    ok &= save(window, folder, u"review-organize-no-details"_s);
    window.setDetailsShown(true);
    DestinationChoices* choices = window.choices();
    while (choices->isListing())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    MoveToMenu menu(*choices, {}, &window);
    menu.popup(window.mapToGlobal(QPoint(400, 200)));
    QCoreApplication::processEvents();
    ok &= menu.grab().save(folder + u"/review-move-to.png"_s);
    menu.close();
    return ok ? 0 : 1;
}
