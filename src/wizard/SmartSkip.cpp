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
}

void SmartSkip::follow()
{
    const std::optional<QUrl> application = m_parties.job.config().appURL;
    if (!application) {
        applicationRemoved();
        return;
    }
    m_parties.navigation.completeCurrentStep();
    // What was found out about another one.
    m_parties.signing.setAppSignatureStatus(AppSignatureStatus::unknown());
    m_parties.appNotarization.clear();
    if (m_parties.settings.skipAppValidation()) {
        setReady(false);
        setStatus(u"Validation Sourced from Settings (Skipping Checks)"_s);
        return;
    }
    setReady(false); // until this one is known
    setStatus(u"Inspecting App..."_s);
    inspect(this, m_parties.inspector, *application);
}

void SmartSkip::applicationRemoved()
{
    setReady(false);
    setStatus({});
    m_parties.signing.setAppSignatureStatus(AppSignatureStatus::unknown());
    m_parties.appNotarization.clear(); // what still runs speaks of the removed one
    if (m_parties.navigation.currentStep() == rawValue(NavigationStep::assets))
        m_parties.navigation.lockAfterFirstStep();
}

QCoro::Task<> SmartSkip::inspect(
    QPointer<SmartSkip> self, PreFlightInspector& inspector, QUrl application)
{
    const PreFlightInspector::Progress progress = [self, application](const QString& label) {
        MainQueue::post([self, application, label] {
            if (self && self->m_parties.job.config().appURL == application)
                self->setStatus(label);
        });
    };
    const InspectionResult result = co_await inspector.inspect(application, progress);
    // Labels still on their way come first.
    MainQueue::post([self, application, result] {
        if (self && self->m_parties.job.config().appURL == application)
            self->take(result);
    });
}

void SmartSkip::take(const InspectionResult& result)
{
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
