#include "build/DMGError.h"

using namespace Qt::StringLiterals;

DMGError::DMGError(Case which, QString text)
    : m_case(which)
    , m_text(std::move(text))
    , m_what(description().toUtf8())
{ }

QString DMGError::description() const
{
    switch (m_case) {
    case Case::conversionFailed:
        return u"DMG Conversion failed: "_s + m_text;
    case Case::mountingFailed:
        return u"Failed to mount DMG: "_s + m_text;
    case Case::scriptFailed:
        return u"AppleScript customization failed: "_s + m_text;
    case Case::volumeEjectionFailed:
        return u"Volume Ejection Failed: "_s + m_text;
    case Case::missingConfig:
        return u"Missing configuration (URL or Output Path)."_s;
    case Case::sourceAppMissing:
        return u"Source app not found."_s;
    case Case::cleanupFailed:
        return u"Failed to cleanup temporary files."_s;
    }
    Q_UNREACHABLE();
}
