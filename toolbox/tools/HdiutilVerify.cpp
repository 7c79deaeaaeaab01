#include "tools/HdiutilVerbs.h"
#include "tools/ImageChecks.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"
#include "udif/ImageError.h"

#include <ostream>

namespace tools {

namespace {

void printState(std::ostream& err, const VolumeState& state)
{
    for (const std::string& fault : state.faults)
        err << "hdiutil: verify: " << oneLine(fault) << '\n';
    for (const std::string& remark : state.remarks)
        err << "hdiutil: verify: harmless: " << oneLine(remark) << '\n';
}

} // namespace

int verifyImage(Session& session)
{
    const std::string& given = session.arguments.onlyOperand();
    const auto path = session.hostPath(given);
    std::ostream& err = session.err;

    const udif::Verification checksums = verifyShowing(path, session);
    printChecksums(session.out, checksums);
    session.out.flush();
    if (!checksums.valid()) {
        for (const auto& finding : checksums.findings)
            err << "hdiutil: verify: " << oneLine(finding.message) << '\n';
        err << "hdiutil: verify: checksum of \"" << given << "\" is INVALID\n"
            << "hdiutil: verify failed - corrupt image\n";
        return 1;
    }
    const VolumeState volume = volumeState(udif::DiskImage::open(path));
    printState(err, volume);
    if (checksums.hasChecksums)
        err << "hdiutil: verify: checksum of \"" << given << "\" is VALID\n";
    if (!volume.faults.empty()) {
        err << "hdiutil: verify failed - the volume is damaged\n";
        return 1;
    }
    if (!checksums.hasChecksums) {
        err << "hdiutil: verify failed - image has no checksum\n";
        return 1;
    }
    return 0;
}

} // namespace tools
