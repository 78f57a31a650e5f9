// Review-window benchmark: a plan of 25,000 items (10,000 of them real JPEG photos) in a
// throw-away home, and the time the UI thread spends on what a person does in the window.
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_review [--items 25000] [--photos 10000]
#include "common/synthetic_photos.h"
#include "controller/app_state.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "controller/thumb_cache.h"
#include "model/store.h"
#include "ui/review/needs_page.h"
#include "ui/review/organize_page.h"
#include "ui/review/plan_list_view.h"
#include "ui/review/review_window.h"
#include "ui/theme/theme.h"

#include "common/figures.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <functional>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QTextStream out(stdout);

using Figures::millis;
using Figures::report;

QList<PlanItem> makePlan(const QString& downloads, int count, int photos)
{
    QDir().mkpath(downloads);
    const QByteArray jpeg = SyntheticPhotos::encoded(SyntheticPhotos::photoLike(1600, 1200, 7), "JPEG", 85);
    static const QStringList folders {u"Work/Invoices"_s,
                                      u"Finance"_s,
                                      u"Personal/Letters"_s,
                                      u"Clients/Quorrel"_s,
                                      u"Study"_s,
                                      u"Travel"_s,
                                      u"Recipes"_s,
                                      u"Car"_s};
    QList<PlanItem> plan;
    plan.reserve(count);
    const int needs = count / 5;
    const int junk = count / 25;
    for (int i = 0; i < count; ++i) {
        PlanItem item;
        item.id = i + 1;
        item.confidence = Confidence::high;
        item.approved = true;
        QString name;
        if (i < photos) {
            name = u"IMG_%1 holiday photo from the old phone.jpg"_s.arg(i, 5, 10, QLatin1Char('0'));
            QFile file(downloads + u'/' + name);
            file.open(QIODevice::WriteOnly);
            file.write(SyntheticPhotos::uniqueJpeg(jpeg, QByteArray::number(i)));
            item.kind = FileKind::image;
            item.category = Category::user;
            item.destFolder = u"Photos/20%1"_s.arg(20 + i % 6);
        } else {
            name = u"document-%1 with a fairly long descriptive name.pdf"_s.arg(i);
            QFile(downloads + u'/' + name).open(QIODevice::WriteOnly);
            item.kind = FileKind::pdf;
            if (i < photos + needs) {
                item.category = Category::needsYou;
                item.destFolder = u"Brindlow Review/Needs You"_s;
                item.approved = false;
            } else if (i < photos + needs + junk) {
                item.category = Category::junk;
                item.destFolder = u"Brindlow Review/To Delete - Review First/Installers"_s;
            } else {
                item.category = Category::user;
                item.destFolder = folders[i % folders.size()];
            }
        }
        item.src = QUrl::fromLocalFile(downloads + u'/' + name);
        item.reason = u"Sorted by its contents, which mention an invoice number and a date"_s;
        item.size = 1'000'000 + i;
        if (i % 10 == 3) {
            item.newName = u"2026-03 Renamed %1.jpg"_s.arg(i);
            item.renameApproved = true;
        }
        plan.append(item);
    }
    return plan;
}

// Paints the whole window now, as the next frame would.
void frame(QWidget& window)
{
    window.repaint();
}

} // namespace

int main(int argc, char* argv[])
{
    // Poppler complains about every empty sample PDF; the figures are what this prints.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type != QtDebugMsg)
            QTextStream(stderr) << message << '\n';
    });
    QApplication app(argc, argv);
    QCommandLineParser options;
    options.addOption({u"items"_s, u"Plan items"_s, u"n"_s, u"25000"_s});
    options.addOption({u"photos"_s, u"Of which photos"_s, u"n"_s, u"10000"_s});
    options.process(app);
    const int count = options.value(u"items"_s).toInt();
    const int photos = std::min(count, options.value(u"photos"_s).toInt());

    QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path() + u"/.local/share"_s));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + u"/.config"_s));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path() + u"/.cache"_s));
    Theme::apply(app);
    Profile profile = Profile::defaults(home.path());
    profile.onboarded = true;
    Store::saveProfile(profile);
    out << "Writing " << count << " plan items (" << photos << " photos) ...\n" << Qt::flush;
    Store::savePlan(makePlan(home.path() + u"/Downloads"_s, count, photos));
    AppState state;
    state.init();
    ThumbCache thumbs;

    std::unique_ptr<ReviewWindow> window;
    const double open = millis([&] {
        window = std::make_unique<ReviewWindow>(state.parts(), &thumbs);
        window->show();
        QCoreApplication::processEvents();
        frame(*window);
    });
    report(u"open: asked for until the first painted frame"_s, open, u"ms"_s, u"1000 ms"_s);

    double worstTab = 0;
    for (const int tab : {1, 2, 3, 0, 3, 0})
        worstTab = std::max(worstTab, millis([&] {
                                window->showTab(tab);
                                frame(*window);
                            }));
    report(u"tab switch, slowest of six"_s, worstTab, u"ms"_s, u"100 ms"_s);

    double worstGroup = 0;
    for (const std::optional<QString>& group : {std::optional<QString>(u"Photos"_s),
                                                std::optional<QString>(u"Work"_s),
                                                std::optional<QString>(),
                                                std::optional<QString>(u"Travel"_s),
                                                std::optional<QString>()})
        worstGroup = std::max(worstGroup, millis([&] {
                                  window->organizePage()->setGroup(group);
                                  frame(*window);
                              }));
    report(u"group switch, slowest of five"_s, worstGroup, u"ms"_s, u"100 ms"_s);

    PlanListView* grid = window->organizePage()->grid();
    grid->setFocus();
    grid->setCurrentIndex(grid->model()->index(0, 0));
    double worstSpace = 0;
    for (int i = 0; i < 5; ++i) {
        worstSpace = std::max(worstSpace, millis([&] {
                                  QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, u" "_s);
                                  QCoreApplication::sendEvent(grid, &press);
                                  frame(*window);
                              }));
    }
    report(u"Space on one item until repainted, slowest of five"_s, worstSpace, u"ms"_s, u"16 ms"_s);

    double worstDetails = 0;
    for (int i = 0; i < 20; ++i) {
        worstDetails = std::max(worstDetails, millis([&] {
                                    QKeyEvent press(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
                                    QCoreApplication::sendEvent(grid, &press);
                                    frame(*window);
                                }));
    }
    report(u"details pane follows a new current item, slowest of twenty"_s, worstDetails, u"ms"_s, u"16 ms"_s);

    QList<qint64> thousand;
    for (int row = 0; row < 1000 && row < grid->model()->rowCount(); ++row)
        thousand.append(grid->model()->index(row, 0).data(PlanModel::IdRole).toLongLong());
    const double moveTo = millis([&] {
        state.review().setDestination(thousand, u"Archive/2023"_s);
        frame(*window);
    });
    report(u"\"Move to\u2026\" chosen for 1,000 selected items, until repainted"_s, moveTo, u"ms"_s, u"50 ms"_s);

    window->showTab(3);
    frame(*window);
    QAbstractButton* leaveAll = nullptr;
    for (QAbstractButton* button : window->needsPage()->findChildren<QAbstractButton*>())
        if (button->accessibleName() == u"Leave all where they are")
            leaveAll = button;
    const double leave = millis([&] {
        leaveAll->click();
        frame(*window);
    });
    report(u"\"Leave all where they are\" on "_s + QString::number(count / 5) + u" needs items"_s,
           leave,
           u"ms"_s,
           u"200 ms"_s);

    window->showTab(0);
    window->organizePage()->setGroup(std::nullopt);
    frame(*window);
    QScrollBar* bar = grid->verticalScrollBar();
    double worstStall = 0;
    QList<double> stalls;
    int pages = 0;
    QElapsedTimer whole;
    whole.start();
    while (bar->value() < bar->maximum()) {
        stalls.append(millis([&] {
            bar->setValue(bar->value() + bar->pageStep());
            frame(*window);
        }));
        worstStall = std::max(worstStall, stalls.last());
        // Let thumbnails arrive between pages, as they would while a person reads the page.
        for (int i = 0; i < 4; ++i) {
            QThread::msleep(5);
            stalls.append(millis([] { QCoreApplication::processEvents(); }));
            worstStall = std::max(worstStall, stalls.last());
        }
        ++pages;
    }
    report(u"scroll top to bottom: longest UI stall over "_s + QString::number(pages) + u" pages"_s,
           worstStall,
           u"ms"_s,
           u"50 ms"_s);
    // One slow step among thousands is the machine; many are the program.
    std::sort(stalls.begin(), stalls.end());
    report(
        u"scroll top to bottom: 99th percentile step"_s, stalls.value(stalls.size() * 99 / 100), u"ms"_s, u"16 ms"_s);
    report(u"scroll top to bottom: steps over 50 ms"_s,
           double(std::count_if(stalls.cbegin(), stalls.cend(), [](double ms) { return ms > 50; })),
           QString(),
           u"-"_s);
    report(u"scroll top to bottom: whole run"_s, double(whole.elapsed()), u"ms"_s, u"-"_s);

    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    report(u"peak resident memory"_s, double(usage.ru_maxrss) / 1024.0, u"MB"_s, u"500 MB"_s);
    return 0;
}
