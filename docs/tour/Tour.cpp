#include "Tour.h"

#include "Home.h"
#include "platform/Clock.h"
#include "wizard/WizardView.h"

#include <QApplication>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QMimeData>

using namespace Qt::StringLiterals;
using enum NavigationStep;

namespace {

constexpr int toSettle = 500; // milliseconds
constexpr int intoWork = 20;

} // namespace

Tour::Tour(const Home& home, const QString& folder, const QSize& size)
    : m_home(home)
    , m_visitor(folder)
    , m_defaults(home.file(u".config/defaults.plist"_s))
    , m_settings(m_defaults)
    , m_services({SystemRoot(QStringLiteral(TOOLBOX_DIR), home.state()), m_defaults, m_settings,
          Clock::system(), home.temporary()})
    , m_settingsSigning(m_services.signingHost())
    , m_settingsWindow({m_settings, m_settingsSigning, m_services.tools(),
                           [this] { return m_services.clearCache(); }},
          home.file(u".config/windows.ini"_s))
    , m_window(m_services.wizardHost([this] { m_settingsWindow.openSettingsWindow(); }), m_settings)
{
    m_window.resize(size);
    m_window.show();
}

void Tour::run()
{
    Visitor::turnFor(toSettle);
    m_visitor.take(m_window, u"0-start"_s);
    emptySteps();
    dragging(assets, m_home.good());
    dragging(signing, m_home.badImage());
    failures();
    m_window.wizard().reset();
    wholeWay();
    settings();
}

void Tour::show(NavigationStep step)
{
    NavigationManager& navigation = m_window.wizard().navigation();
    navigation.raiseMaxStepReached(rawValue(step));
    navigation.setCurrentStep(rawValue(step));
    Visitor::turnFor(toSettle);
}

void Tour::take(NavigationStep step, const QString& state)
{
    m_visitor.take(m_window,
        u"%1-%2-%3"_s.arg(rawValue(step) + 1)
            .arg(titleOf(step).toLower().replace(u' ', u'-'), state));
}

void Tour::choose(const QString& application, const QString& background)
{
    m_window.wizard().job().edit([&](DMGConfig& job) {
        job.appURL = QUrl::fromLocalFile(application);
        job.backgroundURL = QUrl::fromLocalFile(background);
    });
}

void Tour::chooseImage(const QString& image)
{
    m_window.wizard().job().edit(
        [&](DMGConfig& job) { job.outputURL = QUrl::fromLocalFile(image); });
}

void Tour::chooseIdentity()
{
    for (QComboBox* each : m_window.findChildren<QComboBox*>()) {
        if (!each->isVisible())
            continue;
        Visitor::turnUntil([&] { return each->count() > 1; });
        each->setCurrentIndex(1);
        emit each->activated(1);
    }
}

void Tour::work(
    NavigationStep step, const QString& button, const QString& end, const QString& state)
{
    if (!button.isEmpty())
        Visitor::press(button);
    if (state == "finished"_L1 && step != distribution) {
        const auto isBusy = [&] { return m_window.wizard().isBusy(); };
        Visitor::turnUntil([&] { return isBusy() || Visitor::sees(end); });
        Visitor::turnFor(intoWork);
        if (!isBusy())
            Visitor::faults().append(titleOf(step) + u" has ended before its picture"_s);
        take(step, u"running"_s);
    }
    if (!Visitor::turnUntil([&] { return Visitor::sees(end); }))
        Visitor::faults().append(titleOf(step) + u" never says "_s + end);
    Visitor::turnUntil([&] { return !m_window.wizard().isBusy(); });
    Visitor::turnFor(toSettle);
    take(step, state);
}

void Tour::emptySteps()
{
    for (const NavigationStep step : allNavigationSteps) {
        show(step);
        take(step, u"empty"_s);
    }
    m_window.wizard().reset();
}

void Tour::failures()
{
    show(assets);
    choose(m_home.bad(), m_home.background());
    Visitor::turnFor(4 * toSettle);
    take(assets, u"failed"_s);
    show(appSigning);
    chooseIdentity();
    work(appSigning, u"Sign App Bundle & Enable Hardened Runtime"_s, u"❌"_s, u"failed"_s);
    show(appNotarization);
    Visitor::type(u"Keychain Profile Name"_s, u"local"_s);
    work(appNotarization, u"Zip & Notarize Application"_s, u"❌"_s, u"failed"_s);
    show(build);
    Visitor::press(u"Build DMG"_s);
    Visitor::confirmFile(m_home.file(u"Desktop/Broken 1.0.dmg"_s));
    work(build, {}, u"Error"_s, u"failed"_s);
    chooseImage(m_home.badImage());
    show(signing);
    chooseIdentity();
    work(signing, u"Sign DMG"_s, u"❌"_s, u"failed"_s);
    Visitor::press(u"OK"_s);
    show(notarization);
    Visitor::type(u"Profile Name"_s, u"local"_s);
    work(notarization, u"Notarize & Staple"_s, u"❌"_s, u"failed"_s);
    show(distribution);
    Visitor::turnUntil([] { return Visitor::sees(u"Notarization Incomplete"_s); });
    Visitor::turnFor(4 * toSettle);
    take(distribution, u"failed"_s);
}

void Tour::wholeWay()
{
    show(assets);
    m_window.wizard().job().edit(
        [&](DMGConfig& job) { job.backgroundURL = QUrl::fromLocalFile(m_home.background()); });
    Visitor::turnFor(toSettle);
    choose(m_home.good(), m_home.background());
    if (!Visitor::atFirstSight(u"Checking"_s, [this] { take(assets, u"running"_s); }))
        Visitor::faults().append(u"no inspection runs"_s);
    Visitor::turnFor(4 * toSettle);
    take(assets, u"filled"_s);

    show(appSigning);
    chooseIdentity();
    take(appSigning, u"filled"_s);
    asking();
    work(appSigning, u"Sign App Bundle & Enable Hardened Runtime"_s, u"Signed · "_s, u"finished"_s);
    show(appNotarization);
    take(appNotarization, u"filled"_s);
    work(appNotarization, u"Zip & Notarize Application"_s, u"Notarized & Stapled"_s, u"finished"_s);
    show(assets);
    choose(m_home.bad(), m_home.background());
    Visitor::turnFor(toSettle);
    choose(m_home.good(), m_home.background());
    Visitor::turnFor(6 * toSettle);
    take(assets, u"finished"_s);
    show(configuration);
    Visitor::type(u"Volume Name"_s, u"Hello Vandor"_s);
    Visitor::turnFor(toSettle);
    take(configuration, u"filled"_s);

    show(build);
    take(build, u"filled"_s);
    Visitor::press(u"Build DMG"_s);
    Visitor::confirmFile(m_home.file(u"Desktop/Hello Vandor 1.0.dmg"_s));
    Visitor::turnFor(3 * toSettle);
    closing();
    work(build, {}, u"DMG Created Successfully!"_s, u"finished"_s);
    show(signing);
    chooseIdentity();
    take(signing, u"filled"_s);
    work(signing, u"Sign DMG"_s, u"Signing Successful!"_s, u"finished"_s);
    show(notarization);
    take(notarization, u"filled"_s);
    Visitor::press(u"Notarize & Staple"_s);
    Visitor::turnFor(intoWork);
    take(notarization, u"running"_s);
    if (!Visitor::atFirstSight(u"Verifying..."_s, [this] { take(distribution, u"running"_s); }))
        Visitor::faults().append(u"the image is never verified"_s);
    work(distribution, {}, u"Ready for Distribution!"_s, u"finished"_s);
    show(notarization);
    take(notarization, u"finished"_s);
}

void Tour::dragging(NavigationStep step, const QString& file)
{
    show(step);
    QMimeData dragged;
    dragged.setUrls({QUrl::fromLocalFile(file)});
    for (QWidget* each : m_window.findChildren<QWidget*>()) {
        if (!each->isVisible() || !each->acceptDrops())
            continue;
        QDragEnterEvent enter(
            each->rect().center(), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(each, &enter);
        Visitor::turnFor(toSettle);
        take(step, u"dragging"_s);
        QDragLeaveEvent leave;
        QApplication::sendEvent(each, &leave);
        return;
    }
    Visitor::faults().append(u"there is no place to drop "_s + file);
}

/// The identities are gone since they were listed.
void Tour::asking()
{
    const QString aside = m_home.state() + u"-aside"_s;
    QDir().rename(m_home.state(), aside);
    Visitor::press(u"Sign App Bundle & Enable Hardened Runtime"_s);
    if (!Visitor::turnUntil([] { return Visitor::sees(u"Keychain Access Required"_s); }))
        Visitor::faults().append(u"nobody explains that the keychain is needed"_s);
    Visitor::turnFor(toSettle);
    take(appSigning, u"asking"_s);
    Visitor::press(u"Cancel"_s);
    Visitor::turnFor(toSettle);
    QDir(m_home.state()).removeRecursively();
    QDir().rename(aside, m_home.state());
}

void Tour::closing()
{
    m_window.close();
    Visitor::turnFor(toSettle);
    take(build, u"closing"_s);
    Visitor::press(u"Keep Working"_s);
}

void Tour::settings()
{
    m_settingsWindow.openSettingsWindow();
    Visitor::turnUntil([&] { return m_settingsWindow.window() != nullptr; });
    m_settings.setActiveSection(SettingsSection::signing);
    Visitor::press(u"Refresh Identities"_s);
    Visitor::turnUntil([] { return Visitor::sees(u"Signing Enabled"_s); });
    for (const SettingsSection section : allSettingsSections) {
        m_settings.setActiveSection(section);
        Visitor::turnFor(2 * toSettle);
        takeSettings(section);
    }
    results();
}

void Tour::takeSettings(SettingsSection section, const QString& state)
{
    m_visitor.take(
        *m_settingsWindow.window(), u"settings-"_s + rawValue(section).toLower() + state);
}

void Tour::results()
{
    const auto after = [this](SettingsSection section, const QString& button, const QString& end,
                           const QString& state) {
        m_settings.setActiveSection(section);
        Visitor::turnFor(toSettle);
        Visitor::press(button);
        if (!Visitor::turnUntil([&] { return Visitor::sees(end); }))
            Visitor::faults().append(button + u" never says "_s + end);
        Visitor::turnFor(toSettle);
        takeSettings(section, state);
    };
    m_settings.setNotaryProfileName(u"nobody"_s);
    after(SettingsSection::notarization, u"Verify with History"_s, u"Failed"_s, u"-failed"_s);
    m_settings.setNotaryProfileName(u"local"_s);
    after(SettingsSection::notarization, u"Verify with History"_s, u"Success"_s, u"-finished"_s);
    after(SettingsSection::environment, u"Clear Cache"_s, u"left over"_s, u"-finished"_s);
}
