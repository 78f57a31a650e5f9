// Renders every slide of the recap and the refresh-animation preview to PNG files, for the README
// and for checking the look by eye. Not a test: `make screenshots`.
#include "controller/app_state.h"
#include "screenshots.h"
#include "support/manual_animation_driver.h"
#include "support/temp_home.h"
#include "ui/recap/recap_view.h"
#include "ui/recap/recap_window.h"
#include "ui/recap/zen_preview.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QDir>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const char* slideName(RecapSlides::Slide slide)
{
    switch (slide) {
        case RecapSlides::Slide::intro:
            return "intro";
        case RecapSlides::Slide::moved:
            return "moved";
        case RecapSlides::Slide::groups:
            return "groups";
        case RecapSlides::Slide::renamed:
            return "renamed";
        case RecapSlides::Slide::clear:
            return "clear";
        case RecapSlides::Slide::finale:
            break;
    }
    return "finale";
}

// Plays the recap through, saving each slide once everything on it has arrived.
bool playThrough(AppState& state, ManualAnimationDriver& driver, const QString& folder, const QString& prefix)
{
    RecapWindow window(state.preferences(), state.moves());
    window.show();
    bool ok = true;
    RecapView* view = window.view();
    for (int i = 0; i < view->slides().size(); ++i) {
        driver.step(3000ms);
        const QString name = prefix + QString::fromLatin1(slideName(view->currentSlide()));
        ok &= window.grab().save(folder + u'/' + name + u".png"_s);
        view->advance();
    }
    window.close();
    return ok;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    ManualAnimationDriver driver;
    TempHome home;
    AppState state;

    RecapData recap;
    recap.result.moved = 1342;
    recap.result.renamed = 87;
    recap.result.junkBytes = 1'234'000'000;
    recap.groups = {{u"Documents"_s, 512},
                    {u"Quorrel"_s, 301},
                    {u"Harbor Fest"_s, 188},
                    {u"Screenshots"_s, 143},
                    {u"Installers"_s, 96},
                    {u"Receipts and invoices"_s, 61},
                    {u"Photos"_s, 25},
                    {u"Music"_s, 16}};
    recap.renameFrom = u"IMG_20260301_101512.jpg"_s;
    recap.renameTo = u"2026-03 Harbor Fest stage at night.jpg"_s;
    recap.duplicates = 14;
    recap.day = QDate(2026, 3, 1); // a Sunday: the pictures do not change with the day they are made
    state.moves().setRecap(recap);
    bool ok = playThrough(state, driver, folder, u"recap-"_s);

    // What a person notices first: very long names and very large numbers.
    RecapData extreme;
    extreme.result.moved = 1'234'567;
    extreme.result.renamed = 98'765;
    extreme.result.junkBytes = 987'654'321'000;
    extreme.groups
        = {{u"A project whose name goes on and on and on without ever stopping"_s, 900'000}, {u"Documents"_s, 334'567}};
    extreme.renameFrom = u"Screenshot 2026-03-01 at 10.15.12 with a very long name indeed (copy 3).png"_s;
    extreme.renameTo = u"2026-03 A very long and descriptive name for a screenshot of the festival plan.png"_s;
    extreme.day = QDate(2026, 3, 4); // the longest day name
    state.moves().setRecap(extreme);
    ok &= playThrough(state, driver, folder, u"recap-extreme-"_s);

    {
        ZenPreview preview;
        preview.show();
        driver.step(6000ms);
        ok &= preview.grab().save(folder + u"/recap-zen-preview.png"_s);
    }
    return ok ? 0 : 1;
}
