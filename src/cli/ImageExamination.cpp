#include "cli/ImageExamination.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr auto reportMark = "hdiutil: verify: "_L1;
constexpr auto storeMark = ".DS_Store: "_L1;
constexpr auto remarkMark = "harmless: "_L1;
constexpr auto checksumMark = "checksum of "_L1;

Finding container(const ToolOutcome& report, const QString& text)
{
    Finding finding{u"container"_s, u"Container checksums"_s, Finding::State::passed, {},
        u"The file was damaged on its way, or cut off: fetch or build it again."_s};
    if (report.launchError || !text.contains("is VALID"_L1)) {
        finding.state = Finding::State::failed;
        finding.said = report.launchError.value_or(text);
    }
    return finding;
}

/// What the report says of the parts behind the checksums, by whether it is about the store.
QStringList faultsIn(const QString& text, bool ofStore)
{
    QStringList faults;
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
        if (!line.startsWith(reportMark))
            continue;
        const QString fault = line.sliced(reportMark.size());
        if (!fault.startsWith(remarkMark) && !fault.startsWith(checksumMark)
            && fault.startsWith(storeMark) == ofStore)
            faults += fault;
    }
    return faults;
}

/// Only a host whose tool looks that far can tell.
Finding inside(Finding finding, const QStringList& faults, bool isContainerWhole)
{
#ifdef Q_OS_MACOS
    const bool isLookedAt = false;
#else
    const bool isLookedAt = true;
#endif
    if (!isContainerWhole)
        finding.said = u"Not looked at: the container is damaged."_s;
    else if (!isLookedAt)
        finding.said = u"Not looked at: this host's hdiutil compares checksums only."_s;
    else
        finding.state = faults.isEmpty() ? Finding::State::passed : Finding::State::failed;
    if (finding.state == Finding::State::failed)
        finding.said = faults.join(u'\n');
    return finding;
}

} // namespace

ToolCall verifyImageCall(const QString& path)
{
    ToolCall call;
    call.program = u"/usr/bin/hdiutil"_s;
    call.arguments = {u"verify"_s, path};
    call.captureOutput = true;
    call.mergeError = true;
    return call;
}

QList<Finding> findingsIn(const ToolOutcome& report)
{
    const QString text = QString::fromUtf8(report.output);
    const Finding ofContainer = container(report, text);
    const bool isWhole = ofContainer.state == Finding::State::passed;
    const Finding ofVolume = inside({u"volume"_s, u"Volume"_s, Finding::State::skipped, {},
                                        u"Build the image again; if it was changed while it was "
                                        u"attached, eject it first."_s},
        faultsIn(text, false), isWhole);
    const Finding ofWindow =
        inside({u"window"_s, u"Window settings (.DS_Store)"_s, Finding::State::skipped, {},
                   u"Build the image again: a Finder would ignore what the "
                   u"window should look like."_s},
            faultsIn(text, true), isWhole);
    return {ofContainer, ofVolume, ofWindow};
}
