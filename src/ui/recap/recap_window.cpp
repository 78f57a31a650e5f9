#include "recap_window.h"

#include "controller/moves.h"
#include "controller/preferences.h"
#include "model/home_tree.h"
#include "recap_view.h"

#include <QCursor>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QScreen>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

RecapWindow::RecapWindow(Preferences& preferences, Moves& moves, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
    , m_preferences(preferences)
    , m_moves(moves)
    , m_view(new RecapView(this))
    , m_open([](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); })
{
    setWindowTitle(tr("Your recap"));
    setAccessibleName(windowTitle());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    connect(m_view, &RecapView::doneRequested, this, &QWidget::close);
    // An undo took the files back: a recap of their new homes would no longer be true.
    connect(&m_moves, &Moves::recapChanged, this, [this] {
        if (!m_moves.recap() && isVisible())
            close();
    });
    connect(m_view, &RecapView::homeFolderRequested, this, [this] { m_open(m_preferences.profile().homeBase); });
    connect(m_view, &RecapView::reviewFolderRequested, this, [this] {
        m_open(m_preferences.profile().homeBase + u'/' + HomeTree::review());
    });
}

void RecapWindow::setFolderOpener(FolderOpener opener)
{
    m_open = std::move(opener);
}

RecapView* RecapWindow::view() const
{
    return m_view;
}

void RecapWindow::showEvent(QShowEvent* event)
{
    // Brought forward while playing, the recap goes on; opened again, it starts over.
    if (!m_playing) {
        m_playing = true;
        m_view->play(m_moves.recap());
        setFixedSize(sizeHint());
        QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            QRect frame(QPoint(), size());
            frame.moveCenter(screen->availableGeometry().center());
            move(frame.topLeft());
        }
    }
    QWidget::showEvent(event);
}

void RecapWindow::closeEvent(QCloseEvent* event)
{
    m_view->stop();
    m_playing = false;
    QWidget::closeEvent(event);
}
