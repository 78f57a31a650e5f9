// The person's rules in the scan: a first scan (cold cache) of a realistic home of 25,000 items
// without rules and with 50 rules of the kinds people write, round after round in the same run,
// medians beside the target; then the rule book alone, asked about every item.
//
//   build/bench/bench_rules [--items N] [--rounds R] [--home DIR]
#include "home_generator.h"

#include "common/figures.h"
#include "common/page_cache.h"
#include "controller/refresh_pipeline.h"
#include "model/store.h"
#include "scan/scanner.h"

#include <QCommandLineParser>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QTextStream out(stdout);

ScanOptions optionsFor(const QString& home)
{
    ScanOptions options;
    for (const QString& root : {u"Desktop"_s, u"Downloads"_s, u"Documents"_s})
        options.roots.append(QUrl::fromLocalFile(home + u'/' + root));
    options.downloads = home + u"/Downloads"_s;
    options.desktop = home + u"/Desktop"_s;
    return options;
}

UserRule rule(const QString& name, const QString& to)
{
    return {.name = name, .to = to};
}

UserRule ruleFor(FileKind kind, const QString& to)
{
    return {.kind = kind, .to = to};
}

UserRule leave(const QString& name)
{
    return {.name = name, .action = UserRule::Action::leaveAlone};
}

UserRule junk(const QString& name)
{
    return {.name = name, .action = UserRule::Action::junk};
}

// Fifty rules as a person collects them over a year: extensions, names with a wildcard inside,
// kinds, a folder, sizes, a site, and a few things never to touch. Most items match none of
// them, which is the dearest case: every rule is asked.
QList<UserRule> fiftyRules()
{
    QList<UserRule> rules {
        rule(u"*.torrent"_s, u"Library/Torrents"_s),
        rule(u"*.epub"_s, u"Library/Books"_s),
        rule(u"*.mobi"_s, u"Library/Books"_s),
        rule(u"*.ics"_s, u"Work Admin/Calendar"_s),
        rule(u"*.ovpn"_s, u"Work Admin/VPN"_s),
        rule(u"*.gcode"_s, u"Creator/3D prints"_s),
        rule(u"*.stl"_s, u"Creator/3D prints"_s),
        rule(u"*.blend"_s, u"Creator/3D"_s),
        rule(u"*.kicad_pcb"_s, u"Projects/Boards"_s),
        rule(u"*.srt"_s, u"Library/Subtitles"_s),
        rule(u"*.vcf"_s, u"Personal/Contacts"_s),
        rule(u"*.gpx"_s, u"Personal/Rides"_s),
        rule(u"*.heic"_s, u"Personal/Photos"_s),
        rule(u"*.sketch"_s, u"Creator/Design"_s),
        rule(u"*.tar.gz"_s, u"Archive/Tarballs"_s),
        rule(u"invoice-*.pdf"_s, u"Work Admin/Invoices"_s),
        rule(u"receipt*.pdf"_s, u"Work Admin/Receipts"_s),
        rule(u"statement-*-20[0-9][0-9].pdf"_s, u"Work Admin/Bank"_s),
        rule(u"payslip_*"_s, u"Work Admin/Pay"_s),
        rule(u"contract*signed*"_s, u"Work Admin/Contracts"_s),
        rule(u"*boarding*pass*"_s, u"Personal/Travel"_s),
        rule(u"ticket-*.pdf"_s, u"Personal/Travel"_s),
        rule(u"CV_*.docx"_s, u"Personal/Career"_s),
        rule(u"*-resume-*"_s, u"Personal/Career"_s),
        rule(u"Zoom_*.mp4"_s, u"Work Admin/Meetings"_s),
        rule(u"meeting-notes-*.md"_s, u"Work Admin/Meetings"_s),
        rule(u"wallpaper*"_s, u"Personal/Wallpapers"_s),
        rule(u"IMG_[0-9][0-9][0-9][0-9]_HDR*"_s, u"Personal/Photos/HDR"_s),
        rule(u"PXL_*.MP.jpg"_s, u"Personal/Photos"_s),
        rule(u"export_1?.dng"_s, u"Creator/Exports"_s),
        rule(u"logo*.svg"_s, u"Creator/Brand"_s),
        rule(u"*[Ss]ample*pack*"_s, u"Creator/Samples"_s),
        rule(u"report-q[1-4]-*"_s, u"Work Admin/Reports"_s),
        ruleFor(FileKind::font, u"Library/Fonts"_s),
        ruleFor(FileKind::audio, u"Creator/Audio"_s),
        {.kind = FileKind::video, .minSize = 2000000000, .to = u"Creator/Footage"_s},
        {.kind = FileKind::installer, .folder = u"Downloads"_s, .action = UserRule::Action::junk},
        {.name = u"*.tmp"_s, .folder = u"Desktop"_s, .action = UserRule::Action::junk},
        {.folder = u"Downloads/Telegram Desktop"_s, .to = u"Personal/Telegram"_s},
        {.maxSize = 0, .action = UserRule::Action::junk},
        {.minSize = 4000000000, .to = u"Archive/Large"_s},
        {.site = u"bank.example.com"_s, .to = u"Work Admin/Bank"_s},
        junk(u"*.crdownload"_s),
        junk(u"~$*"_s),
        junk(u"*.log"_s),
        leave(u"*.kdbx"_s),
        leave(u"*.gpg"_s),
        leave(u"id_[re][sd]*"_s),
        {.name = u"keep"_s, .folder = u"Downloads"_s, .action = UserRule::Action::leaveAlone},
        leave(u"IMG_1?.jpg"_s),
    };
    for (UserRule& made : rules) {
        if (const std::optional<QString> problem = UserRules::problem(made))
            qFatal("a benchmark rule is refused: %s", qPrintable(*problem));
    }
    return rules;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Scanned
{
    double millis = 0;
    qsizetype items = 0;
};

Scanned coldScan(const QString& home, const RuleBook* rules)
{
    QFile::remove(Store::dir() + u"/scan-cache.bin"_s);
    ScanOptions options = optionsFor(home);
    if (rules)
        RefreshPipeline::askRules(options, *rules, home);
    Scanned scanned;
    scanned.millis = Figures::millis([&] { scanned.items = Scanner::run(options).size(); });
    return scanned;
}

// The book alone over every item the scan keeps, as the refresh asks it once the scan is done.
double decideMillis(const RuleBook& book, const QList<RuleSubject>& subjects, int* decided)
{
    int count = 0;
    const double millis = Figures::millis([&] {
        for (const RuleSubject& subject : subjects)
            count += book.decide(subject) != nullptr;
    });
    *decided = count;
    return millis;
}

QString generatedHome(const QString& dir, int items)
{
    const QString base = dir + u'/' + QString::number(items);
    const QString home = base + u"/home"_s;
    if (!QFile::exists(base + u"/generated"_s)) {
        QDir(home).removeRecursively();
        const double millis = Figures::millis([&] {
            const HomeGenerator::Summary summary = HomeGenerator::generate(home, items);
            out << "generated " << summary.items << " items, " << summary.bytes / 1000000 << " MB" << Qt::flush;
        });
        out << " in " << millis / 1000 << " s\n";
        QFile(base + u"/generated"_s).open(QIODevice::WriteOnly);
    }
    // Its own support folder: the scan cache of this benchmark is no other's.
    qputenv("XDG_DATA_HOME", QFile::encodeName(base + u"/data-rules"_s));
    return home;
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({u"items"_s, u"Items in the generated home."_s, u"n"_s, u"25000"_s});
    parser.addOption({u"rounds"_s, u"Rounds of both scans."_s, u"n"_s, u"5"_s});
    // The scan benchmark's home, so that one generated home serves both.
    parser.addOption({u"home"_s, u"Where the generated home lives."_s, u"dir"_s, u"/tmp/brindlow-bench-scan"_s});
    parser.addHelpOption();
    parser.process(app);
    const int rounds = std::max(1, parser.value(u"rounds"_s).toInt());
    const QString home = generatedHome(parser.value(u"home"_s), parser.value(u"items"_s).toInt());
    const RuleBook book(fiftyRules());
    PageCache::warm(home);

    QList<double> without;
    QList<double> with;
    Scanned plain;
    Scanned ruled;
    for (int round = 0; round < rounds; ++round) {
        // Alternating which goes first keeps a drift of the machine out of the difference.
        if (round % 2 == 0) {
            plain = coldScan(home, nullptr);
            ruled = coldScan(home, &book);
        } else {
            ruled = coldScan(home, &book);
            plain = coldScan(home, nullptr);
        }
        without.append(plain.millis);
        with.append(ruled.millis);
    }

    ScanOptions options = optionsFor(home);
    QList<RuleSubject> subjects;
    for (const ScannedItem& item : Scanner::run(options))
        subjects.append(RuleSubject::of(item, home));
    QList<double> deciding;
    int decided = 0;
    for (int round = 0; round < std::max(rounds, 5); ++round)
        deciding.append(decideMillis(book, subjects, &decided));

    const double base = median(without);
    const double withRules = median(with);
    out << "\nFirst scan (cold cache) of " << plain.items << " items, median of " << rounds << " rounds\n" << Qt::flush;
    Figures::report(u"  without rules"_s, base, u"ms"_s, u"-"_s);
    Figures::report(u"  with %1 rules"_s.arg(book.rules().size()), withRules, u"ms"_s, u"-"_s);
    Figures::report(u"  rules add"_s, 100 * (withRules - base) / base, u"%"_s, u"< 5 %"_s);
    Figures::report(u"  ratio with / without"_s, withRules / base, u""_s, u"< 1.05"_s);
    Figures::report(u"  items left alone by the rules"_s, double(plain.items - ruled.items), u"items"_s, u"-"_s);
    out << "\nThe rule book alone, over the " << subjects.size() << " items the scan keeps\n" << Qt::flush;
    const double decide = median(deciding);
    Figures::report(u"  RuleBook::decide, every item"_s, decide, u"ms"_s, u"-"_s);
    Figures::report(u"  per item"_s, 1e6 * decide / double(subjects.size()), u"ns"_s, u"-"_s);
    Figures::report(u"  share of the first scan"_s, 100 * decide / base, u"%"_s, u"< 5 %"_s);
    Figures::report(u"  items a rule decides"_s, decided, u"items"_s, u"-"_s);
    return 0;
}
