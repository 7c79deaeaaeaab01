#pragma once

#include "build/BuildHost.h"
#include "model/DMGConfig.h"
#include "platform/Cancellation.h"

#include <QCoro/QCoroTask>

#include <functional>

/// Turns a job into a finished, compressed image at its output location: stages the application,
/// makes a writable image of it, styles the mounted volume, converts. Keeps nothing between builds
/// and doesn't guard against two at a time.
class DMGGenerator {
public:
    /// Called on the main thread, on a later turn, in the order of the steps.
    using Progress = std::function<void(QString)>;
    /// How much of the present step is done, from 0 to 1, where the step's tool tells.
    using Share = std::function<void(double)>;

    explicit DMGGenerator(BuildHost host);

    /// Ends with nothing, or with a DMGError, or with the host's own failure (PlatformError,
    /// LaunchError); each has its text for the user, in UTF-8, as `what`. `cancellation` ends the
    /// waits only: every step still runs. A build that has started doesn't need its generator.
    QCoro::Task<> createDMG(
        DMGConfig job, Progress progress, CancellationHandle cancellation, Share share = {});

private:
    BuildHost m_host;
};
