#pragma once

#include "build/BuildStep.h"

#include <QStringView>

/// What a user needs to know of the step at which a build ended.
struct FailureAdvice {
    BuildStep step;
    QStringView name; // completes "The image was not built: ... failed."
    QStringView tool; // the Mac's path; empty where this program does the work itself
    QStringView remedy;
};

const FailureAdvice& adviceFor(BuildStep step);
