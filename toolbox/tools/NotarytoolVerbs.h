#pragma once

#include "notary/CredentialProfiles.h"
#include "notary/Service.h"
#include "notary/SubmissionStore.h"
#include "notary/Transcript.h"
#include "tools/Arguments.h"
#include "tools/NotaryHost.h"

#include <array>
#include <memory>

/// The verbs of `notarytool`, one function each: prints, throws what fails.
namespace tools {

/// What a verb works with.
struct NotarySession {
    const NotaryHost& host;
    const Arguments& arguments;
    std::ostream& out;

    notary::CredentialProfiles profiles() const;
    notary::SubmissionStore submissions() const;
    notary::OutputFormat format() const;
};

/// The profile that the user named is not there.
class UnknownProfile : public std::runtime_error {
public:
    explicit UnknownProfile(const std::string& name);
};

/// The service that the arguments name by a profile or a key, with what it works with.
class ChosenService {
public:
    explicit ChosenService(const NotarySession& session);

    notary::Service* operator->() const { return m_service.get(); }
    notary::Service& operator*() const { return *m_service; }
    const notary::SubmissionStore& store() const { return m_store; }

private:
    notary::SubmissionStore m_store;
    std::unique_ptr<notary::Service> m_service;
};

/// The key that `--key`, `--key-id` and `--issuer` give. Throws bytes::FormatError for one that is
/// no key of the service's.
notary::ApiKey apiKeyFrom(const Arguments& arguments);

/// Seconds from "90", "90s", "15m", "2h". Throws UsageError.
std::chrono::seconds durationFrom(const std::string& text);

void storeCredentials(NotarySession& session);
void notaryHistory(NotarySession& session);
void submitFile(NotarySession& session);
void submissionInfo(NotarySession& session);
void submissionLog(NotarySession& session);
void waitForSubmission(NotarySession& session);

} // namespace tools
