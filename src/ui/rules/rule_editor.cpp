#include "rule_editor.h"

#include "common/numbers.h"
#include "controller/own_rules.h"
#include "controller/preferences.h"
#include "model/home_tree.h"
#include "planning/user_rules.h"
#include "size_field.h"
#include "ui/review/destination_choices.h"
#include "ui/settings/texts.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/theme.h"
#include "ui/theme/window_fit.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kWidth = 560;
// Counting runs over the whole plan; a burst of typing counts once.
constexpr int kCountDelayMs = 150;

constexpr FileKind kKinds[] = {FileKind::pdf,
                               FileKind::image,
                               FileKind::video,
                               FileKind::audio,
                               FileKind::design,
                               FileKind::doc,
                               FileKind::sheet,
                               FileKind::slides,
                               FileKind::archive,
                               FileKind::installer,
                               FileKind::code,
                               FileKind::font,
                               FileKind::partial,
                               FileKind::folder,
                               FileKind::project,
                               FileKind::bundle,
                               FileKind::other};

QString capitalised(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

// Every folder the choices name, sub-folders after their parent, as paths under the home base.
void flatten(const QList<DestinationChoices::Choice>& choices, QStringList& into)
{
    for (const DestinationChoices::Choice& choice : choices) {
        if (!choice.subs.isEmpty()) {
            flatten(choice.subs, into);
            continue;
        }
        // A rule that sends things to wait for the person would only hide them from the review.
        if (choice.folder && *choice.folder != HomeTree::needsYou() && !into.contains(*choice.folder))
            into.append(*choice.folder);
    }
}

QLabel* detailLine(const QString& text, QWidget* parent)
{
    QLabel* line = Texts::label(text, Texts::Style::detail, parent);
    line->setContentsMargins(24, 0, 0, 4);
    return line;
}

} // namespace

RuleEditor::RuleEditor(OwnRules& rules,
                       Preferences& preferences,
                       const DestinationChoices& choices,
                       const UserRule& start,
                       Mode mode,
                       QWidget* parent)
    : QDialog(parent)
    , m_rules(rules)
    , m_preferences(preferences)
    , m_choices(choices)
    , m_mode(mode)
    , m_id(mode == Mode::edit ? start.id : QString())
{
    setWindowTitle(mode == Mode::edit ? tr("Edit rule") : tr("New rule"));
    setAccessibleName(windowTitle());
    setObjectName(u"ruleEditor"_s);
    setFixedWidth(kWidth);

    m_problem = Texts::label(QString(), Texts::Style::body, this);
    m_problem->setObjectName(u"ruleProblem"_s);
    QPalette warning = m_problem->palette();
    warning.setColor(QPalette::WindowText, Theme::amberDeep);
    m_problem->setPalette(warning);
    m_matches = Texts::label(QString(), Texts::Style::detail, this);
    m_matches->setObjectName(u"ruleMatches"_s);

    // On a short screen the rule scrolls; Save and Cancel stay in view below it.
    auto* body = new QWidget(this);
    auto* content = new QVBoxLayout(body);
    content->setContentsMargins(24, 20, 24, 8);
    content->setSpacing(10);
    content->addWidget(Texts::label(windowTitle(), Texts::Style::heading, body));
    content->addWidget(Texts::label(tr("WHEN AN ITEM"), Texts::Style::caption, body));
    content->addWidget(buildConditions());
    content->addSpacing(4);
    content->addWidget(Texts::label(tr("DO THIS"), Texts::Style::caption, body));
    content->addWidget(buildAction());
    content->addWidget(m_problem);
    content->addWidget(m_matches);
    content->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 16);
    layout->setSpacing(0);
    layout->addWidget(WindowFit::scrolling(body, this), 1);
    QWidget* buttons = buildButtons();
    buttons->setContentsMargins(24, 0, 24, 0);
    layout->addWidget(buttons);

    fill(start);
    m_counting.setSingleShot(true);
    m_counting.setInterval(kCountDelayMs);
    connect(&m_counting, &QTimer::timeout, this, &RuleEditor::countMatches);
    connect(&m_choices, &DestinationChoices::changed, this, &RuleEditor::fillDestinations);
    // Rules changed elsewhere while this is open may have changed the plan it counts.
    connect(&m_rules, &OwnRules::rulesChanged, &m_counting, qOverload<>(&QTimer::start));
    check();
    countMatches();
    // Shown at the size its content asks for, not squeezed to a share of the screen, and refitted
    // as a refusal comes and goes.
    WindowFit::fit(this, sizeHint(), WindowFit::availableArea(this));
    WindowFit::followContent(this, body);
}

QWidget* RuleEditor::buildConditions()
{
    auto* box = new QWidget(this);
    m_name = new QLineEdit(box);
    m_name->setAccessibleName(tr("Name"));
    m_name->setPlaceholderText(tr("Like *.torrent, invoice-*.pdf or keep"));
    m_kind = new QComboBox(box);
    m_kind->setAccessibleName(tr("Kind"));
    m_kind->addItem(tr("Any kind"));
    for (const FileKind kind : kKinds)
        m_kind->addItem(capitalised(UserRule::kindWords(kind)), rawValue(kind));
    m_folder = new QComboBox(box);
    m_folder->setAccessibleName(tr("In folder"));
    m_folder->addItem(tr("Any folder"));
    for (const QString& folder : m_preferences.profile().scanFolders)
        m_folder->addItem(folder, folder);
    m_site = new QLineEdit(box);
    m_site->setAccessibleName(tr("Downloaded from"));
    m_site->setPlaceholderText(tr("A site, like bank.example.com"));
    m_smallest = new SizeField(tr("Smallest size"), box);
    m_largest = new SizeField(tr("Largest size"), box);
    for (QLineEdit* field : {m_name, m_site})
        Texts::styleField(field);
    for (QComboBox* combo : {m_kind, m_folder})
        combo->setMinimumHeight(32);

    auto* form = new QFormLayout(box);
    form->setContentsMargins(0, 0, 0, 0);
    form->setVerticalSpacing(8);
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    form->addRow(tr("Name"), m_name);
    form->addRow(tr("Kind"), m_kind);
    form->addRow(tr("In folder"), m_folder);
    form->addRow(tr("Downloaded from"), m_site);
    auto* sizes = new QHBoxLayout;
    sizes->setSpacing(8);
    sizes->addWidget(m_smallest);
    sizes->addWidget(Texts::label(tr("to"), Texts::Style::body, box));
    sizes->addWidget(m_largest);
    sizes->addStretch(1);
    form->addRow(tr("Size"), sizes);
    form->addRow(
        QString(),
        Texts::label(tr("Every condition you fill in must hold. Names ignore case."), Texts::Style::detail, box));

    for (QLineEdit* field : {m_name, m_site})
        connect(field, &QLineEdit::textChanged, this, &RuleEditor::check);
    for (QComboBox* combo : {m_kind, m_folder})
        connect(combo, &QComboBox::currentIndexChanged, this, &RuleEditor::check);
    for (SizeField* size : {m_smallest, m_largest})
        connect(size, &SizeField::changed, this, &RuleEditor::check);
    return box;
}

QWidget* RuleEditor::buildAction()
{
    auto* box = new QWidget(this);
    m_action = new QButtonGroup(box);
    auto* sendTo = new QRadioButton(tr("Send to a folder"), box);
    auto* junk = new QRadioButton(tr("Set aside as junk"), box);
    auto* leave = new QRadioButton(tr("Leave alone"), box);
    m_action->addButton(sendTo, int(UserRule::Action::sendTo));
    m_action->addButton(junk, int(UserRule::Action::junk));
    m_action->addButton(leave, int(UserRule::Action::leaveAlone));
    for (QAbstractButton* button : m_action->buttons())
        button->setAccessibleName(button->text());
    m_to = new QComboBox(box);
    m_to->setEditable(true);
    m_to->setInsertPolicy(QComboBox::NoInsert);
    m_to->setAccessibleName(tr("Folder to send to"));
    m_to->lineEdit()->setPlaceholderText(tr("A folder in your home base, like Library/Torrents"));
    m_to->setMinimumHeight(32);

    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(sendTo, 0, Qt::AlignLeft);
    auto* to = new QHBoxLayout;
    to->setContentsMargins(24, 0, 0, 6);
    to->addWidget(m_to);
    layout->addLayout(to);
    layout->addWidget(junk, 0, Qt::AlignLeft);
    layout->addWidget(
        detailLine(tr("They go to %1 for you to look over. Nothing is deleted.").arg(UserRules::junkFolder()), box));
    layout->addWidget(leave, 0, Qt::AlignLeft);
    layout->addWidget(
        detailLine(tr("Never moved, never sent to a model, and what is inside them is never read."), box));

    connect(m_action, &QButtonGroup::idToggled, this, [this](int, bool on) {
        if (on)
            check();
    });
    connect(m_to, &QComboBox::currentTextChanged, this, &RuleEditor::check);
    return box;
}

QWidget* RuleEditor::buildButtons()
{
    auto* box = new QWidget(this);
    m_save = new PrimaryButton(tr("Save"), box, 34);
    m_save->setAccessibleName(tr("Save"));
    m_save->setDefault(true);
    auto* cancel = new SecondaryButton(tr("Cancel"), box, 34);
    cancel->setAccessibleName(tr("Cancel"));
    connect(m_save, &QPushButton::clicked, this, &RuleEditor::save);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 6, 0, 0);
    layout->setSpacing(8);
    layout->addStretch(1);
    layout->addWidget(cancel);
    layout->addWidget(m_save);
    return box;
}

void RuleEditor::fill(const UserRule& rule)
{
    m_name->setText(rule.name.value_or(QString()));
    m_kind->setCurrentIndex(rule.kind ? std::max(0, m_kind->findData(rawValue(*rule.kind))) : 0);
    if (rule.folder) {
        // A rule may name a folder the profile no longer sorts; it stays the rule's.
        if (m_folder->findData(*rule.folder) < 0)
            m_folder->addItem(*rule.folder, *rule.folder);
        m_folder->setCurrentIndex(m_folder->findData(*rule.folder));
    }
    m_site->setText(rule.site.value_or(QString()));
    m_smallest->setBytes(rule.minSize);
    m_largest->setBytes(rule.maxSize);
    m_action->button(int(rule.action))->setChecked(true);
    fillDestinations();
    m_to->setCurrentText(rule.to);
}

void RuleEditor::fillDestinations()
{
    QStringList folders;
    flatten(m_choices.choices(), folders);
    const QString typed = m_to->currentText();
    const QSignalBlocker quiet(m_to);
    m_to->clear();
    m_to->addItems(folders);
    m_to->setCurrentText(typed);
}

UserRule RuleEditor::typed() const
{
    UserRule rule;
    rule.id = m_id;
    const auto text = [](const QLineEdit* field) {
        return field->text().trimmed().isEmpty() ? std::nullopt : std::optional(field->text());
    };
    rule.name = text(m_name);
    rule.site = text(m_site);
    if (m_kind->currentData().isValid())
        rule.kind = fileKindFromRaw(m_kind->currentData().toString());
    if (m_folder->currentData().isValid())
        rule.folder = m_folder->currentData().toString();
    rule.minSize = m_smallest->value().bytes;
    rule.maxSize = m_largest->value().bytes;
    rule.action = UserRule::Action(m_action->checkedId());
    rule.to = rule.action == UserRule::Action::sendTo ? m_to->currentText() : QString();
    return rule;
}

std::optional<QString> RuleEditor::problem() const
{
    if (!m_smallest->value().ok || !m_largest->value().ok)
        return tr("Write a size as a number, like 1.5.");
    UserRule copy = typed();
    return UserRules::problem(copy);
}

void RuleEditor::check()
{
    const std::optional<QString> why = problem();
    showProblem(why);
    m_save->setEnabled(!why);
    m_to->setEnabled(m_action->checkedId() == int(UserRule::Action::sendTo));
    m_counting.start();
}

void RuleEditor::showProblem(const std::optional<QString>& problem)
{
    Spoken::setText(m_problem, problem.value_or(QString()));
    m_problem->setVisible(problem.has_value());
}

void RuleEditor::countMatches()
{
    // Which items it takes does not hang on what it does with them: the count is there as soon
    // as the conditions are, before a folder is chosen.
    UserRule rule = typed();
    rule.action = UserRule::Action::leaveAlone;
    const bool usable = m_smallest->value().ok && m_largest->value().ok && !UserRules::problem(rule);
    const std::optional<OwnRules::Matches> matches = usable ? m_rules.matches(rule) : std::nullopt;
    QString text;
    if (matches && matches->ofPlan)
        text = matches->count == 1 ? tr("Matches 1 item in the open plan.")
                                   : tr("Matches %1 items in the open plan.").arg(Numbers::count(matches->count));
    else if (matches)
        text = matches->count == 1 ? tr("Matches 1 item from the last scan.")
                                   : tr("Matches %1 items from the last scan.").arg(Numbers::count(matches->count));
    Spoken::setText(m_matches, text);
    m_matches->setVisible(!text.isEmpty());
}

void RuleEditor::save()
{
    UserRule rule = typed();
    if (std::optional<QString> why = problem()) {
        showProblem(why);
        return;
    }
    const bool kept = std::any_of(
        m_rules.rules().cbegin(), m_rules.rules().cend(), [this](const UserRule& other) { return other.id == m_id; });
    // A rule removed in another Brindlow while it was being edited comes back as the person saves it.
    const std::optional<QString> refused
        = m_mode == Mode::edit && kept ? m_rules.replace(m_id, rule) : m_rules.add(rule);
    if (refused) {
        showProblem(refused);
        return;
    }
    // A rule added goes last and gets its id on the way in.
    m_id = m_mode == Mode::edit && kept ? m_id : m_rules.rules().last().id;
    Q_EMIT saved(m_id);
    accept();
}

QString RuleEditor::savedId() const
{
    return result() == QDialog::Accepted ? m_id : QString();
}

QString RuleEditor::offerText()
{
    return tr("Always do this for files like this\u2026");
}
