#pragma once

#include "cli/CommandHost.h"
#include "cli/CommandReport.h"
#include "cli/Subject.h"

/// `vandor sign --plan`: what signing would do to each piece of code, inside out. Touches nothing
/// and needs no identity. Returns the exit status.
int runSigningPlan(const Subject& subject, const CommandHost& host, CommandReport& report);
