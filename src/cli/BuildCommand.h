#pragma once

struct BuildOptions;
struct CommandHost;

/// `vandor build`: makes an image of an application. Returns the exit status.
int runBuildCommand(const BuildOptions& options, const CommandHost& host);
