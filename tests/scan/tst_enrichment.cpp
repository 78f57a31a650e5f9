#include "model/blanks.h"
#include "scan/enrichment.h"
#include "scan/kinds.h"
#include "support/file_factory.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBoundaryFinder>

using namespace Qt::Literals::StringLiterals;

namespace {

ScannedItem itemAt(const QString& path, bool isDir = false)
{
    ScannedItem item;
    item.url = QUrl::fromLocalFile(path);
    item.name = QFileInfo(path).fileName();
    item.ext = Kinds::extension(path);
    item.isDir = isDir;
    item.kind = isDir ? FileKind::folder : Kinds::map().value(item.ext, FileKind::other);
    item.size = isDir ? 0 : QFileInfo(path).size();
    return item;
}

QByteArray slideXml(const QString& text)
{
    return "<?xml version=\"1.0\"?><p:sld><p:txBody><a:p><a:r><a:t>" + text.toUtf8()
        + "</a:t></a:r></a:p></p:txBody></p:sld>";
}

} // namespace

class TestEnrichment : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString& name) const
    {
        return m_dir.path() + u'/' + name;
    }

private Q_SLOTS:
    void cleanFoldsTagsAndSpaceAndCountsGraphemes()
    {
        QCOMPARE(Scanner::clean(u"  <p>Hello</p>\n\n\t<b>world</b>  "_s), u"Hello world"_s);
        QCOMPARE(Scanner::clean(u"a\u00A0\u2003b"_s), u"a b"_s);
        QCOMPARE(Scanner::clean(u"1 < 2 and 3 > 2"_s), u"1 2"_s);
        // 800 user-perceived characters, however many UTF-16 units they take.
        const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s;
        const QString cut = Scanner::clean(family.repeated(900));
        QCOMPARE(cut, family.repeated(800));
        QCOMPARE(Scanner::clean(u"e\u0301"_s.repeated(801)).size(), 1600);

        // The hand-written pass gives what the two Unicode-aware replacements and a cut over the
        // whole text give, on texts built from the pieces that trip either up: tags that are not
        // ("<>", a '<' never closed), every kind of white space and its neighbours, clusters
        // and surrogate pairs that straddle where the cut looks first.
        const auto reference = [](QString text) {
            text.replace(QRegularExpression(u"<[^>]+>"_s), u" "_s);
            text.replace(QRegularExpression(u"\\s+"_s, QRegularExpression::UseUnicodePropertiesOption), u" "_s);
            text = trimBlanks(text);
            QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
            qsizetype end = 0;
            for (int clusters = 0; clusters < Scanner::kSnippetCharacters && end != -1; ++clusters)
                end = finder.toNextBoundary();
            return end == -1 ? text : text.left(end);
        };
        const QStringList pieces {u"<"_s,      u">"_s,          u"<>"_s,         u"<b>"_s,        u"a"_s,
                                  u"Z"_s,      u" "_s,          u"\t"_s,         u"\n"_s,         u"\r\n"_s,
                                  u"\u0085"_s, u"\u00A0"_s,     u"\u1680"_s,     u"\u180E"_s,     u"\u2007"_s,
                                  u"\u200B"_s, u"\u2028"_s,     u"\u3000"_s,     u"\u0301"_s,     u"\u200D"_s,
                                  u"\u017F"_s, u"\U0001F44D"_s, u"\U0001F3FD"_s, u"\U0001F1EB"_s, u"\u0915\u094D"_s};
        QRandomGenerator random(7);
        for (int round = 0; round < 300; ++round) {
            QString text;
            const int length = int(random.bounded(round % 3 ? 4000 : 60));
            while (text.size() < length)
                text += pieces[random.bounded(int(pieces.size()))];
            QCOMPARE(Scanner::clean(text), reference(text));
        }
        // One cluster longer than the head the cut looks at first; the 800th cluster's skin tone
        // split across its edge.
        const QStringList straddling {QString(u"a"_s + QString(3000, QChar(0x0301)) + QString(900, u'b')),
                                      QString(u"e\u0301\u0301\u0301"_s.repeated(Scanner::kSnippetCharacters - 2) + u'a'
                                              + QString(68, QChar(0x0301)) + u"\U0001F44D\U0001F3FD"_s
                                              + QString(900, u'y'))};
        for (const QString& text : straddling)
            QCOMPARE(Scanner::clean(text), reference(text));
        // A stray half of a surrogate pair (a broken PDF text map) stops no cleaning.
        QCOMPARE(Scanner::clean(u"a"_s + QChar(0xD83D) + u"  <b>b"_s), u"a"_s + QChar(0xD83D) + u" b"_s);
    }

    void plainTextSnippets()
    {
        QByteArray text;
        for (int line = 0; text.size() < 10000; ++line)
            text += "Line " + QByteArray::number(line) + " of the notes\n";
        FileFactory::write(path(u"notes.md"_s), text);
        const std::optional<QString> snippet = Scanner::snippet(path(u"notes.md"_s), u"md"_s, text.size());
        QVERIFY(snippet);
        QCOMPARE(snippet->size(), 800);
        QVERIFY(snippet->startsWith(u"Line 0 of the notes Line 1 of the notes"_s));
        QVERIFY(!snippet->contains(u'\n'));

        // Only the first 6000 bytes are read: text beyond them never shows up.
        FileFactory::write(path(u"far.txt"_s), QByteArray(5990, ' ') + "near text" + QByteArray(100, ' ') + "far");
        QCOMPARE(Scanner::snippet(path(u"far.txt"_s), u"txt"_s, 6102), u"near text"_s);

        FileFactory::write(path(u"latin1.txt"_s), "caf\xe9 cr\xe8me");
        QCOMPARE(Scanner::snippet(path(u"latin1.txt"_s), u"txt"_s, 11), u"caf\uFFFD cr\uFFFDme"_s);

        QCOMPARE(Scanner::snippet(path(u"notes.md"_s), u"md"_s, 0), std::nullopt);
        QCOMPARE(Scanner::snippet(path(u"notes.md"_s), u"md"_s, 60000000), std::nullopt);
        QCOMPARE(Scanner::snippet(path(u"notes.md"_s), u"png"_s, 100), std::nullopt);
        QCOMPARE(Scanner::snippet(path(u"missing.txt"_s), u"txt"_s, 100), std::nullopt);
    }

    void documentSnippets()
    {
        FileFactory::pdf(path(u"report.pdf"_s),
                         {u"Quarterly report for Quorrel"_s, u"Second page"_s, u"Third page"_s, u"Fourth page"_s});
        const std::optional<QString> pdf
            = Scanner::snippet(path(u"report.pdf"_s), u"pdf"_s, QFileInfo(path(u"report.pdf"_s)).size());
        QVERIFY(pdf);
        QVERIFY2(pdf->contains(u"Quarterly report for Quorrel"_s), qPrintable(*pdf));
        QVERIFY(pdf->contains(u"Third page"_s));
        QVERIFY(!pdf->contains(u"Fourth"_s));

        FileFactory::write(path(u"broken.pdf"_s), "%PDF-1.7\n garbage that is not a document");
        QCOMPARE(Scanner::snippet(path(u"broken.pdf"_s), u"pdf"_s, 40), std::nullopt);

        FileFactory::zip(path(u"letter.docx"_s),
                         {{u"[Content_Types].xml"_s, "<Types/>"},
                          {u"word/document.xml"_s,
                           "<w:document><w:p><w:t>Dear Ann,</w:t></w:p><w:p><w:t>thanks</w:t></w:p></w:document>"}});
        QCOMPARE(Scanner::snippet(path(u"letter.docx"_s), u"docx"_s, 100), u"Dear Ann, thanks"_s);

        // Every slide, in the order the archive stores them, not in name order.
        FileFactory::zip(path(u"deck.pptx"_s),
                         {{u"ppt/slides/slide2.xml"_s, slideXml(u"Second"_s)},
                          {u"ppt/slides/_rels/slide1.xml.rels"_s, "<Relationships>rels</Relationships>"},
                          {u"ppt/slides/slide1.xml"_s, slideXml(u"First"_s)},
                          {u"ppt/slides/slide10.xml"_s, slideXml(u"Tenth "_s.repeated(200))}});
        const std::optional<QString> deck = Scanner::snippet(path(u"deck.pptx"_s), u"pptx"_s, 100);
        QVERIFY(deck);
        QVERIFY2(deck->startsWith(u"Second First Tenth Tenth"_s), qPrintable(*deck));
        QCOMPARE(deck->size(), 800);

        FileFactory::zip(path(u"budget.xlsx"_s),
                         {{u"xl/sharedStrings.xml"_s, "<sst><si><t>Rent</t></si><si><t>Food</t></si></sst>"}});
        QCOMPARE(Scanner::snippet(path(u"budget.xlsx"_s), u"xlsx"_s, 100), u"Rent Food"_s);
        // OpenDocument keeps a file's text in content.xml whatever the kind; styles.xml beside it
        // and a picture's XML deeper down are not its text.
        for (const QString& ext : {u"odt"_s, u"ods"_s, u"odp"_s}) {
            FileFactory::zip(
                path(u"plan."_s + ext),
                {{u"mimetype"_s, "application/vnd.oasis.opendocument"},
                 {u"styles.xml"_s, "<office:styles>Heading style</office:styles>"},
                 {u"content.xml"_s, "<office:text><text:p>Trip to</text:p><text:p>Lyon</text:p></office:text>"},
                 {u"Objects/content.xml"_s, "<x>chart</x>"}});
            QCOMPARE(Scanner::snippet(path(u"plan."_s + ext), ext, 100), u"Trip to Lyon"_s);
        }
        FileFactory::zip(path(u"empty.docx"_s), {{u"other.xml"_s, "<x>nothing</x>"}});
        QCOMPARE(Scanner::snippet(path(u"empty.docx"_s), u"docx"_s, 100), QString());
        FileFactory::write(path(u"fake.docx"_s), "not a zip at all");
        QCOMPARE(Scanner::snippet(path(u"fake.docx"_s), u"docx"_s, 16), std::nullopt);
    }

    void zipBombStopsAtTheCap()
    {
        // 256 MB of zeros compresses to a quarter of a megabyte; inflating it all takes far longer
        // than the cap allows.
        const QByteArray zeros(256 << 20, '\0');
        FileFactory::zip(path(u"bomb.docx"_s), {{u"word/document.xml"_s, zeros}});
        QElapsedTimer timer;
        timer.start();
        const std::optional<QString> text = Scanner::unzip(path(u"bomb.docx"_s), u"word/document.xml"_s);
        QVERIFY(text);
        QCOMPARE(text->size(), Scanner::kZipTextBytes);
        QVERIFY2(timer.elapsed() < 100, qPrintable(QString::number(timer.elapsed())));
    }

    void folderSummaries()
    {
        FileFactory::png(path(u"shoot/b.png"_s), 10, 10);
        FileFactory::png(path(u"shoot/a.png"_s), 10, 10);
        FileFactory::write(path(u"shoot/brief.pdf"_s), "x");
        FileFactory::write(path(u"shoot/.DS_Store"_s), "x");
        QCOMPARE(Scanner::peek(path(u"shoot"_s)),
                 u"Folder with 3 items (2 image, 1 pdf). Contents: a.png | b.png | brief.pdf"_s);

        QDir().mkpath(path(u"empty/.hidden-only"_s));
        QCOMPARE(Scanner::peek(path(u"empty"_s)), u"Empty folder"_s);
        QCOMPARE(Scanner::peek(path(u"no such folder"_s)), std::nullopt);

        for (int i = 0; i < 30; ++i)
            FileFactory::write(path(u"many/%1.txt"_s.arg(i, 2, 10, QChar(u'0'))), "x");
        for (const char* ext : {"png", "mp3", "zip", "ttf", "csv", "key"})
            FileFactory::write(path(u"many/file."_s + QString::fromLatin1(ext)), "x");
        const QString many = *Scanner::peek(path(u"many"_s));
        QVERIFY2(many.startsWith(u"Folder with 36 items (30 doc, 1 "_s), qPrintable(many));
        QCOMPARE(many.section(u" ("_s, 1).section(u')', 0, 0).count(u", "_s), 4); // five kinds at most
        QCOMPARE(many.section(u"Contents: "_s, 1).split(u" | "_s).size(), 25);
        QVERIFY(many.endsWith(u"| 24.txt"_s));
    }

    void junkHints()
    {
        auto hintsFor = [this](const QString& relative, qint64 size = 10) {
            const QString full = path(relative);
            if (!QFileInfo::exists(full))
                FileFactory::write(full, QByteArray(size, 'x'));
            return Scanner::hints(itemAt(full));
        };
        QCOMPARE(hintsFor(u"Screenshot 2024-05-01 at 10.00.00.png"_s).first(), JunkHint::screenshotName);
        QCOMPARE(hintsFor(u"CleanShot 2023-01-01.png"_s).first(), JunkHint::screenshotName);
        QVERIFY(!hintsFor(u"My screenshot.png"_s, 9000).contains(JunkHint::screenshotName));
        QCOMPARE(hintsFor(u"setup.dmg"_s), QList<JunkHint> {JunkHint::installer});
        QCOMPARE(hintsFor(u"movie.mp4.part"_s), QList<JunkHint> {JunkHint::partialDownload});
        QCOMPARE(hintsFor(u".com.google.Chrome.x1Y2z3"_s), QList<JunkHint> {JunkHint::partialDownload});
        QCOMPARE(hintsFor(u"notes.txt"_s, 0), QList<JunkHint> {JunkHint::emptyFile});
        QCOMPARE(hintsFor(u"Screenshot (2).txt"_s, 0),
                 (QList<JunkHint> {JunkHint::screenshotName, JunkHint::emptyFile, JunkHint::copyStyleName}));
        for (const QString& copy : {u"report (1).pdf"_s, u"report copy.pdf"_s, u"report Copy 2.pdf"_s})
            QCOMPARE(hintsFor(copy), QList<JunkHint> {JunkHint::copyStyleName});
        for (const QString& plain : {u"copy of report.pdf"_s, u"report(1).pdf"_s, u"report (x).pdf"_s})
            QCOMPARE(hintsFor(plain), QList<JunkHint>());

        // The quick looks before the name patterns never turn away a name the patterns take:
        // names built from their pieces, other scripts' digits and a long s among them.
        const QRegularExpression screenshot(u"^(screen ?shot|screenshot|screen recording|cleanshot)"_s,
                                            QRegularExpression::CaseInsensitiveOption
                                                | QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpression copyStyle(u"( \\(\\d+\\)| copy( \\d+)?)$"_s,
                                           QRegularExpression::CaseInsensitiveOption
                                               | QRegularExpression::UseUnicodePropertiesOption);
        const QStringList pieces {u"screen"_s,
                                  u"ſcreen"_s,
                                  u"SHOT"_s,
                                  u"shot"_s,
                                  u" "_s,
                                  u"recording"_s,
                                  u"Clean"_s,
                                  u"copy"_s,
                                  u"COPY"_s,
                                  u"("_s,
                                  u")"_s,
                                  u"7"_s,
                                  u"\u0663"_s,
                                  u"x"_s};
        QRandomGenerator random(11);
        for (int round = 0; round < 3000; ++round) {
            QString stem;
            for (int piece = int(random.bounded(1, 6)); piece > 0; --piece)
                stem += pieces[random.bounded(int(pieces.size()))];
            ScannedItem item = itemAt(path(u"absent.pdf"_s));
            item.name = stem + u".pdf"_s;
            const QList<JunkHint> found = Scanner::hints(item);
            QCOMPARE(found.contains(JunkHint::screenshotName), screenshot.match(item.name).hasMatch());
            QCOMPARE(found.contains(JunkHint::copyStyleName), copyStyle.match(stem).hasMatch());
        }

        QDir().mkpath(path(u"Downloads/Installer.app"_s));
        QDir().mkpath(path(u"Desktop/Installer.app"_s));
        ScannedItem app = itemAt(path(u"Downloads/Installer.app"_s), true);
        app.kind = FileKind::bundle;
        QCOMPARE(Scanner::hints(app, path(u"Downloads"_s)), QList<JunkHint> {JunkHint::installer});
        QCOMPARE(Scanner::hints(app), QList<JunkHint>()); // a desktop without a Downloads folder
        app.url = QUrl::fromLocalFile(path(u"Desktop/Installer.app"_s));
        QCOMPARE(Scanner::hints(app, path(u"Downloads"_s)), QList<JunkHint>());
        ScannedItem emptyFolder = itemAt(path(u"Desktop"_s), true);
        QCOMPARE(Scanner::hints(emptyFolder), QList<JunkHint>());

        // Tiny images: by pixel size, only below 8 KiB, and unreadable small images count as tiny.
        FileFactory::png(path(u"icon.png"_s), 32, 32, 5000);
        FileFactory::png(path(u"big-icon.png"_s), 32, 32, 10000);
        FileFactory::png(path(u"banner.png"_s), 300, 20, 5000);
        FileFactory::png(path(u"edge.png"_s), 64, 64, 5000);
        FileFactory::write(path(u"broken.png"_s), QByteArray(3000, 'z'));
        QCOMPARE(Scanner::hints(itemAt(path(u"icon.png"_s))), QList<JunkHint> {JunkHint::tinyImage});
        QCOMPARE(Scanner::hints(itemAt(path(u"big-icon.png"_s))), QList<JunkHint>());
        QCOMPARE(Scanner::hints(itemAt(path(u"banner.png"_s))), QList<JunkHint>());
        QCOMPARE(Scanner::hints(itemAt(path(u"edge.png"_s))), QList<JunkHint> {JunkHint::tinyImage});
        QCOMPARE(Scanner::hints(itemAt(path(u"broken.png"_s))), QList<JunkHint> {JunkHint::tinyImage});

        // An archive whose extracted folder sits beside it.
        FileFactory::write(path(u"x/photos.zip"_s), "zip");
        FileFactory::write(path(u"x/photos.tar.gz"_s), "tgz");
        QDir().mkpath(path(u"x/photos"_s));
        FileFactory::write(path(u"y/photos.zip"_s), "zip");
        FileFactory::write(path(u"y/photos"_s), "a file, not a folder");
        QCOMPARE(Scanner::hints(itemAt(path(u"x/photos.zip"_s))), QList<JunkHint> {JunkHint::alreadyExtractedArchive});
        QCOMPARE(Scanner::hints(itemAt(path(u"x/photos.tar.gz"_s))), QList<JunkHint>());
        QCOMPARE(Scanner::hints(itemAt(path(u"y/photos.zip"_s))), QList<JunkHint>());
    }

    void downloadOrigin()
    {
        FileFactory::write(path(u"paper.pdf"_s), "x");
        QCOMPARE(Scanner::whereFrom(path(u"paper.pdf"_s)), std::nullopt);
        FileFactory::setOriginAttribute(path(u"paper.pdf"_s), "https://example.org/papers/p%201.pdf");
        QCOMPARE(Scanner::whereFrom(path(u"paper.pdf"_s)), u"https://example.org/papers/p%201.pdf"_s);
        FileFactory::setOriginAttribute(path(u"paper.pdf"_s), QByteArray("https://example.org/z", 22));
        QCOMPARE(Scanner::whereFrom(path(u"paper.pdf"_s)), u"https://example.org/z"_s);
        QCOMPARE(Scanner::whereFrom(path(u"gone.pdf"_s)), std::nullopt);
    }
};

QTEST_MAIN(TestEnrichment)
#include "tst_enrichment.moc"
