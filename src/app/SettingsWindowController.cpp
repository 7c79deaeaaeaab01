#include "app/SettingsWindowController.h"

#include "platform/MainQueue.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

const QString frameKey = u"VandorDMG_Settings_Window"_s;

} // namespace

SettingsWindowController::SettingsWindowController(
    SettingsView::Host host, QString stateFile, QObject* parent)
    : QObject(parent)
    , m_host(std::move(host))
    , m_stateFile(std::move(stateFile))
{ }

SettingsWindowController::~SettingsWindowController()
{
    delete m_window;
}

void SettingsWindowController::openSettingsWindow()
{
    MainQueue::post([self = QPointer(this)] {
        if (self)
            self->show();
    });
}

void SettingsWindowController::show()
{
    if (!m_window) {
        m_window = new QWidget;
        m_window->setAttribute(Qt::WA_DeleteOnClose);
        m_window->setWindowTitle(u"Vandor DMG Settings"_s);
        m_window->setMinimumSize(850, 600);
        auto* layout = new QVBoxLayout(m_window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(new SettingsView(m_host));
        m_window->installEventFilter(this);
        new QShortcut(QKeySequence::Close, m_window.data(), m_window.data(), &QWidget::close);
        restoreFrame();
    }
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void SettingsWindowController::restoreFrame()
{
    const QSettings state(m_stateFile, QSettings::IniFormat);
    if (m_window->restoreGeometry(state.value(frameKey).toByteArray()))
        return;
    m_window->resize(900, 600);
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    m_window->move(screen.center() - m_window->rect().center());
}

void SettingsWindowController::saveFrame() const
{
    QSettings(m_stateFile, QSettings::IniFormat).setValue(frameKey, m_window->saveGeometry());
}

bool SettingsWindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_window && event->type() == QEvent::Close) {
        saveFrame();
        // A request within this turn makes a new window already.
        m_window.clear();
    }
    return false;
}
