#include "wizard/SmartSkip.h"

#include "model/SettingsManager.h"
#include "notarization/AppNotarizationManager.h"
#include "platform/MainQueue.h"
#include "signing/SigningManager.h"
#include "wizard/NavigationManager.h"

using namespace Qt::StringLiterals;

SmartSkip::SmartSkip(Parties parties, QObject* parent)
    : QObject(parent)
    , m_parties(parties)
{
    connect(&m_parties.job, &ConfigWrapper::appURLChanged, this, [this] {
        MainQueue::post([self = QPointer(this)] {
            if (self)
                self->follow();
        });
    });
    connect(&m_parties.signing, &SigningManager::isAppSigningChanged, this, [this] {
        if (m_inspecting && m_parties.signing.isAppSigning())
            abandonInspection();
    });
}

void SmartSkip::follow()
{
    const std::optional<QUrl> application = m_parties.job.config().appURL;
    if (!application) {
        applicationRemoved();
        return;
    }
    m_parties.navigation.completeCurrentStep();
    forgetApplication();
    if (m_parties.settings.skipAppValidation()) {
        setReady(false);
        setStatus(u"Validation Sourced from Settings (Skipping Checks)"_s);
        return;
    }
    setReady(false); // until this one is known
    setStatus(u"Inspecting App..."_s);
    m_inspecting = true;
    inspect(this, m_inspection, m_parties.inspector, *application);
}

void SmartSkip::applicationRemoved()
{
    setReady(false);
    setStatus({});
    forgetApplication();
    if (m_parties.navigation.currentStep() == rawValue(NavigationStep::assets))
        m_parties.navigation.lockAfterFirstStep();
}

/// What was found out about another one, and what still runs there.
void SmartSkip::forgetApplication()
{
    ++m_inspection;
    m_inspecting = false;
    m_parties.signing.forgetApplication();
    m_parties.appNotarization.clear();
}

/// What it finds would no longer be so.
void SmartSkip::abandonInspection()
{
    ++m_inspection;
    m_inspecting = false;
    setStatus({});
}

bool SmartSkip::hears(int inspection, const QUrl& application) const
{
    return m_inspection == inspection && m_parties.job.config().appURL == application;
}

QCoro::Task<> SmartSkip::inspect(
    QPointer<SmartSkip> self, int inspection, PreFlightInspector& inspector, QUrl application)
{
    const PreFlightInspector::Progress progress = [=](const QString& label) {
        MainQueue::post([=] {
            if (self && self->hears(inspection, application))
                self->setStatus(label);
        });
    };
    const InspectionResult result = co_await inspector.inspect(application, progress);
    // Labels still on their way come first.
    MainQueue::post([=] {
        if (self && self->hears(inspection, application))
            self->take(result);
    });
}

void SmartSkip::take(const InspectionResult& result)
{
    m_inspecting = false;
    m_parties.signing.setAppSigningLogs(result.logs);
    if (result.isSigned && result.isNotarized && result.isStapled) {
        m_parties.signing.setAppSignatureStatus(
            AppSignatureStatus::signedBy(u"Pre-Verified (Smart Skip)"_s));
        m_parties.appNotarization.setNotarizationSuccess(true);
        m_parties.navigation.raiseMaxStepReached(rawValue(NavigationStep::configuration));
        setReady(true);
        setStatus(u"✅ App Verified. Smart Skip Ready."_s);
    } else {
        setReady(false);
        setStatus(u"Validation Failed: "_s + result.failureReason.value_or(u"Unknown"_s));
    }
}

void SmartSkip::reset()
{
    setReady(false);
    setStatus({});
}

void SmartSkip::setReady(bool ready)
{
    if (ready == m_smartSkipReady)
        return;
    m_smartSkipReady = ready;
    emit smartSkipReadyChanged();
}

void SmartSkip::setStatus(const QString& text)
{
    if (text == m_inspectionStatus)
        return;
    m_inspectionStatus = text;
    emit inspectionStatusChanged();
}
