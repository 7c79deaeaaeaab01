#pragma once

#include "model/DMGConfig.h"

#include <QString>

class QDateTime;

/// The file name that is offered for the finished image: `namingTemplate` with ${APP_NAME},
/// ${VERSION} and ${DATE} replaced in this order, each once through, and ".dmg" at the end. It
/// names no folder: a slash, as in the version "1/2", becomes a hyphen.
///
/// The name is the application's without its extension, "App" without one. The version is read
/// from the application's information dictionary: the short version, else the build's, else "1.0".
/// The date is `now` as yyyy-MM-dd.
QString proposedOutputName(
    const QString& namingTemplate, const DMGConfig& job, const QDateTime& now);
