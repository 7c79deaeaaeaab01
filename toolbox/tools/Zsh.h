#pragma once

namespace tools {

/// The whole of `main`: becomes the host's Z shell. Returns an exit status when it can't.
int zsh(int argc, char* argv[], char* environment[]);

} // namespace tools
