#pragma once

#include "keychain/TrustedRoots.h"
#include "notary/TicketOffice.h"

#include <filesystem>
#include <string>
#include <vector>

namespace notary {

/// What a Mac's security policy says to code, as far as its signature and tickets tell. A Mac also
/// knows of revocations, of its user's choices and of the files' way onto it.
struct Assessment {
    bool accepted = false;
    std::string remark{}; // follows the verdict in parentheses; mostly empty
    std::string source{}; // the rule that decided; empty when none did
    std::string origin{}; // who has signed; empty without a signer
    /// What the reader has to know besides, each "note=..."; never a verdict's words.
    std::vector<std::string> notes{};
};

/// What somebody wants to do with the code.
enum class Purpose {
    execute,
    install,
    openWithContext, // open an image, judged by the image's own signature
    openWithoutContext,
};

/// Judges the code at `path`. Throws codesign::CodeError, in the words of the Mac's tool, for code
/// that isn't what was signed: it gets no verdict.
Assessment assess(const std::filesystem::path& path, Purpose purpose,
    const keychain::TrustedRoots& roots, const TicketOffice& office);

} // namespace notary
