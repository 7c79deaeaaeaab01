#include "notarization/NotarizationError.h"

using namespace Qt::StringLiterals;

NotarizationError::NotarizationError(Case which)
    : m_case(which)
    , m_what(description().toUtf8())
{ }

QString NotarizationError::description() const
{
    switch (m_case) {
    case Case::invalidStatus:
        return u"The notary service or its tool reported a failure (invalidStatus)."_s;
    case Case::retryLimitExceeded:
        return u"The notary service could not be reached in any attempt (retryLimitExceeded)."_s;
    case Case::unzipFailed:
        return u"An archive could not be unpacked (unzipFailed)."_s;
    }
    Q_UNREACHABLE();
}
