#include "notarization/NotarizationState.h"

#include "notarization/RunFailure.h"
#include "platform/UserDefaults.h"
#include "platform/WorkUnderWay.h"

#include <utility>

using namespace Qt::StringLiterals;

const QString NotarizationState::kSavedProfileName = u"SavedNotaryProfileName"_s;

NotarizationState::NotarizationState(UserDefaults& defaults, QObject* parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_profileName(defaults.string(kSavedProfileName).value_or(u""_s))
{
    m_defaults.set(kSavedProfileName, m_profileName);
}

void NotarizationState::setProfileName(const QString& name)
{
    m_defaults.set(kSavedProfileName, name);
    publish(m_profileName, name, &NotarizationState::profileNameChanged);
}

void NotarizationState::clear()
{
    ++m_project;
    setProcessing(false);
    begin();
}

bool NotarizationState::start()
{
    if (m_isProcessing)
        return false;
    if (m_profileName.isEmpty()) {
        append(u"Error: No Keychain Profile Name provided.\n"_s);
        return false;
    }
    setProcessing(true);
    begin();
    return true;
}

QCoro::Task<> NotarizationState::finish(Run run, QCoro::Task<> work)
{
    const WorkUnderWay underWay;
    const std::optional<QString> failure = co_await failureOf(std::move(work));
    NotarizationState* const self = run.manager();
    if (!self)
        co_return;
    if (failure)
        self->append(u"❌ Process Failed: %1\n"_s.arg(*failure));
    self->setSuccess(!failure);
    self->setProcessing(false);
}

void NotarizationState::begin()
{
    setSuccess(false);
    clearLogs();
}

void NotarizationState::clearLogs()
{
    publish(m_logs, {}, &NotarizationState::logsChanged);
}

void NotarizationState::append(const QString& text)
{
    m_logs += text;
    emit logsChanged();
    emit messageLogged(text);
}

void NotarizationState::setProcessing(bool value)
{
    publish(m_isProcessing, value, &NotarizationState::isProcessingChanged);
}

void NotarizationState::setSuccess(bool value)
{
    publish(m_notarizationSuccess, value, &NotarizationState::notarizationSuccessChanged);
}

template <class Value>
void NotarizationState::publish(
    Value& field, const Value& value, void (NotarizationState::*changed)())
{
    if (field == value)
        return;
    field = value;
    emit(this->*changed)();
}
