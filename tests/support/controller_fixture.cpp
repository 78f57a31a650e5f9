#include "controller_fixture.h"

#include "file_factory.h"
#include "model/store.h"
#include "plan_factory.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

ControllerFixture::ControllerFixture()
    : ControllerFixture(Person {})
{ }

ControllerFixture::ControllerFixture(const Person& person)
    : clock(person.now)
{
    home.saveProfile(person.onboarded, person.projects);
    if (person.onboarded)
        Store::saveKey(person.key);
    server.setHandler(FakeClaudeServer::sorting(
        [](qint64) { return FakeClaudeServer::decision(u"personal"_s, u"Documents"_s, u"a letter"_s); }));
}

PlanItem&
ControllerFixture::add(const QString& name, const Category& category, const QString& destFolder, FileKind kind)
{
    const QString downloads = home.path() + u"/Downloads"_s;
    items.append(PlanFactory::item(downloads, firstId + items.size(), name, category, destFolder));
    if (kind == FileKind::folder) {
        QFile::remove(downloads + u'/' + name);
        FileFactory::write(downloads + u'/' + name + u"/inside.txt"_s, "inside");
    }
    items.last().kind = kind;
    // As the planner proposes them: a new name, when there is one, is taken unless declined.
    items.last().renameApproved = true;
    return items.last();
}

std::unique_ptr<AppState> ControllerFixture::create()
{
    if (!items.isEmpty())
        Store::savePlan(items);
    auto state = std::make_unique<AppState>(&clock);
    QObject::connect(
        state.get(), &AppState::windowRequested, state.get(), [this](const QString& id) { windows.append(id); });
    return state;
}

std::unique_ptr<AppState> ControllerFixture::start()
{
    std::unique_ptr<AppState> state = create();
    state->init();
    return state;
}

bool ControllerFixture::refresh(AppState& state, TidyMode mode)
{
    QSignalSpy finished(&state.refresh(), &RefreshRun::finished);
    state.refresh().start(mode);
    return finished.wait(20000);
}

bool ControllerFixture::waitForMove(AppState& state)
{
    QSignalSpy finished(&state.moves(), &Moves::finished);
    return finished.wait(20000);
}

const PlanItem& ControllerFixture::item(AppState& state, qint64 id)
{
    return state.review().plan().at(state.review().rowOf(id));
}

QStringList ControllerFixture::sentPaths() const
{
    QStringList paths;
    for (const FakeClaudeServer::Request& request : server.requests()) {
        for (const QString& line : request.userText().split(u'\n')) {
            const QJsonObject described = QJsonDocument::fromJson(line.toUtf8()).object();
            if (described.contains("path"_L1))
                paths.append(described.value("path"_L1).toString());
        }
    }
    paths.sort();
    return paths;
}

QString ControllerFixture::sentSince(int first) const
{
    QStringList texts;
    for (const FakeClaudeServer::Request& request : server.requests().mid(first))
        texts.append(request.userText());
    return texts.join(u'\n');
}
