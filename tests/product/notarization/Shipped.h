#pragma once

#include "Rehearsal.h"

/// What one command has made of the sample application, for all tests. A build mostly waits, so
/// the command begins with the test program and runs beside the tests that don't need it.
namespace Shipped {

/// Waits for the command's end.
Rehearsal& user();

} // namespace Shipped
