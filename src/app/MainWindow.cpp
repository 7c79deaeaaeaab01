#include "app/MainWindow.h"

#include "model/SettingsManager.h"
#include "views/Buttons.h"
#include "views/Labels.h"
#include "views/Sheet.h"
#include "views/Symbol.h"
#include "wizard/WizardView.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

const QUrl supportPage(u"https://vandor-dmg.example/help"_s);

} // namespace

MainWindow::MainWindow(WizardHost host, SettingsManager& settings, QWidget* parent)
    : QMainWindow(parent)
{
    setWindowTitle(u"Vandor DMG"_s);
    makeMenus(settings, host.openSettings);
    m_wizard = new WizardView(std::move(host));
    m_wizard->setMinimumSize(1100, 800);
    setCentralWidget(m_wizard);
    m_wizard->setFocus();
}

void MainWindow::makeMenus(SettingsManager& settings, std::function<void()> openSettings)
{
    QMenu* file = menuBar()->addMenu(u"&File"_s);
    file->addAction(u"New Project"_s, QKeySequence::New, this, [this] {
        if (Sheet::openIn(this).isEmpty())
            m_wizard->reset();
    });
    // Qt has keys for these two on some desktops only.
    QAction* preferences =
        file->addAction(u"Settings..."_s, Qt::CTRL | Qt::Key_Comma, this, std::move(openSettings));
    preferences->setMenuRole(QAction::PreferencesRole);
    file->addSeparator();
    QAction* quit = file->addAction(u"Quit"_s, Qt::CTRL | Qt::Key_Q, this, &QWidget::close);
    quit->setMenuRole(QAction::QuitRole);
    quit->setShortcutContext(Qt::ApplicationShortcut); // from the settings, too

    QMenu* view = menuBar()->addMenu(u"&View"_s);
    QAction* sidebar = view->addAction(u"Show Sidebar"_s, Qt::Key_F9, this,
        [this](bool visible) { m_wizard->setSidebarVisible(visible); });
    sidebar->setCheckable(true);
    sidebar->setChecked(true);

    QMenu* help = menuBar()->addMenu(u"&Help"_s);
    help->addAction(u"Vandor DMG Help"_s, QKeySequence::HelpContents, this,
        [] { QDesktopServices::openUrl(supportPage); });
    QAction* about = help->addAction(u"About Vandor DMG"_s, this,
        [&settings] { settings.openSettings(SettingsSection::about); });
    about->setMenuRole(QAction::AboutRole);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (m_mayClose || !m_wizard->isBusy()) {
        event->accept();
        // The program ends with its main window.
        QMetaObject::invokeMethod(qApp, &QApplication::closeAllWindows, Qt::QueuedConnection);
        return;
    }
    event->ignore();
    askToClose();
}

void MainWindow::askToClose()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    raise(); // the settings may be in front
    activateWindow();
    if (m_closeQuestion)
        return;
    auto* sheet = new Sheet(u"Close while work runs?"_s, this);
    m_closeQuestion = sheet;
    sheet->add(new SymbolLabel(u"exclamationmark.triangle.fill"_s, Theme::Colour::orange, 36),
        Qt::AlignHCenter);
    sheet->add(makeLabel(u"Close while work runs?"_s, Theme::Type::headline), Qt::AlignHCenter);
    QLabel* text = makeLabel(
        u"A build, a signing or a notarization is under way. What it has done so far is lost."_s,
        Theme::Type::body, Theme::Colour::secondary);
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignHCenter);
    sheet->add(text);
    auto* buttons = new QHBoxLayout;
    QPushButton* leave = makeButton(u"Close Anyway"_s, ButtonKind::destructive);
    QPushButton* stay = makeButton(u"Keep Working"_s, ButtonKind::primary);
    buttons->addWidget(leave);
    buttons->addStretch();
    buttons->addWidget(stay);
    sheet->add(buttons);
    connect(stay, &QPushButton::clicked, sheet, &Sheet::dismiss);
    connect(sheet, &Sheet::escaped, sheet, &Sheet::dismiss);
    connect(leave, &QPushButton::clicked, this, [=, this] {
        text->setText(u"Stopping..."_s);
        leave->setEnabled(false);
        stay->setEnabled(false);
        disconnect(sheet, &Sheet::escaped, nullptr, nullptr);
        stopAndClose();
    });
    sheet->present();
}

void MainWindow::stopAndClose()
{
    using namespace std::chrono_literals;
    m_wizard->stopWork();
    closeOnceIdle(QDeadlineTimer(10s));
}

void MainWindow::closeOnceIdle(QDeadlineTimer limit)
{
    using namespace std::chrono_literals;
    if (m_wizard->isBusy() && !limit.hasExpired()) {
        QTimer::singleShot(20ms, this, [this, limit] { closeOnceIdle(limit); });
        return;
    }
    m_mayClose = true;
    close();
}
