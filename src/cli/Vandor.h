#pragma once

#include <QStringList>

struct CommandHost;

/// The program `vandor`: reads the arguments (without the program's own name), runs the subcommand
/// that they name and returns the exit status. Runs the main loop, so it needs a QCoreApplication
/// whose loop doesn't run yet.
int runVandor(const QStringList& arguments, const CommandHost& host);
