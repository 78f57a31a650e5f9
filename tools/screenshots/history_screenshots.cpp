// Renders the move history window to PNG files: the applies with the files of one, a file put
// back, a search across every apply, and a log that could not be read. Not a test:
// `make screenshots`.
#include "controller/app_state.h"
#include "controller/history.h"
#include "model/store.h"
#include "screenshots.h"
#include "support/file_factory.h"
#include "support/history_factory.h"
#include "support/temp_home.h"
#include "ui/history/history_window.h"

#include <QApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTimeZone>
#include <QTreeView>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

QDateTime at(int month, int day, int hour)
{
    return QDateTime(QDate(2026, month, day), QTime(hour, 12), QTimeZone::utc());
}

void makeHistory(const QString& home)
{
    using Move = HistoryFactory::Move;
    const QString junk = u"Brindlow Review/To Delete - Review First/Installers"_s;
    HistoryFactory::apply(home,
                          {Move {u"Downloads/IMG_2041.jpg"_s, u"Personal/Photos"_s, u"Beach at sunset.jpg"_s},
                           Move {u"Downloads/invoice-0231.pdf"_s, u"Work Admin/Invoices"_s},
                           Move {u"Desktop/quorrel pitch v3.key"_s, u"Projects/Quorrel/Docs"_s},
                           Move {u"Downloads/Setup-2.4.deb"_s, junk},
                           Move {u"Desktop/Screenshot 2026-01-30 at 09.12.44.png"_s,
                                 u"Personal/Screenshots"_s,
                                 u"Quorrel card layout sketch.png"_s}},
                          at(1, 31, 9));
    HistoryFactory::apply(home,
                          {Move {u"Downloads/receipt march.pdf"_s, u"Personal/Finance & Receipts"_s},
                           Move {u"Downloads/lease-scan0001.pdf"_s, u"Personal/Home"_s, u"Lease 2026.pdf"_s},
                           Move {u"Desktop/notes.txt"_s, u"Library/Notes"_s}},
                          at(2, 28, 9));
    HistoryFactory::apply(home,
                          {Move {u"Downloads/harbor-fest-poster.pdf"_s, u"Projects/Harbor Fest/Docs"_s},
                           Move {u"Downloads/old-installer.deb"_s, junk}},
                          at(3, 7, 9));
    FileFactory::write(Store::logsDir() + u"/moves-000001-2025-12-20_081500Z (2).jsonl"_s, "{cut off");
}

bool load(History& history)
{
    QSignalSpy changed(&history, &History::changed);
    history.reload();
    return changed.wait(5000);
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("TZ", "UTC");
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    TempHome home;
    makeHistory(home.path());
    AppState state;
    HistoryWindow window(state.history());
    window.setOpeners([](const QString&) {}, [](const QString&) {});
    window.resize(1240, 560);
    window.show();
    bool ok = load(state.history());
    ok &= window.grab().save(folder + u"/history.png"_s);

    // One file of an older apply put back.
    window.appliesView()->setCurrentItem(window.appliesView()->topLevelItem(1));
    QTreeView* files = window.filesView();
    files->selectionModel()->select(files->model()->index(1, 0),
                                    QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    QSignalSpy finished(&state.history(), &History::finished);
    state.history().putBack(1, {1});
    ok &= finished.wait(5000) && load(state.history());
    QCoreApplication::processEvents();
    ok &= window.grab().save(folder + u"/history-put-back.png"_s);

    window.findChild<QLineEdit*>()->setText(u"pdf"_s);
    QCoreApplication::processEvents();
    ok &= window.grab().save(folder + u"/history-search.png"_s);

    window.findChild<QLineEdit*>()->clear();
    QTreeWidget* applies = window.appliesView();
    applies->setCurrentItem(applies->topLevelItem(applies->topLevelItemCount() - 1));
    QCoreApplication::processEvents();
    ok &= window.grab().save(folder + u"/history-damaged.png"_s);
    return ok ? 0 : 1;
}
