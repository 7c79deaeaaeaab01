#pragma once

#include "cli/Finding.h"
#include "platform/ToolRunner.h"

#include <QList>

/// Asks for the checksums of an image and for all that the tool finds wrong inside.
ToolCall verifyImageCall(const QString& path);

/// What the tool's report says of the container, of the volume and of its window's settings, in
/// this order.
QList<Finding> findingsIn(const ToolOutcome& report);
