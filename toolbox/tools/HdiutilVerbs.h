#pragma once

#include "tools/Arguments.h"
#include "tools/Progress.h"
#include "volumes/AttachedVolumes.h"

#include <array>
#include <filesystem>
#include <iosfwd>
#include <memory>

/// The verbs of hdiutil. Each has a table of its options and a function, which throws what went
/// wrong, or reports it on `err` and returns the exit status itself.
namespace tools {

/// What a verb works with.
struct Session {
    const Arguments& arguments;
    volumes::AttachedVolumes& volumes;
    std::ostream& out;
    std::ostream& err;

    /// Where a path of the command line lies on this host, absolute.
    std::filesystem::path hostPath(const std::string& path) const;
    /// How far a job is, as the caller wants to see it; not in the middle of a property list.
    std::unique_ptr<Progress> progress() const;
};

inline constexpr std::array createOptions{
    Option{"-volname", true},
    Option{"-srcfolder", true},
    Option{"-size", true},
    Option{"-format", true},
    Option{"-fs", true},
    Option{"-layout", true},
    Option{"-type", true},
    Option{"-imagekey", true},
    Option{"-ov"},
    Option{"-plist"},
    Option{"-puppetstrings"},
};
int createImage(Session& session);

inline constexpr std::array attachOptions{
    Option{"-mountpoint", true},
    Option{"-mountroot", true},
    Option{"-owners", true},
    Option{"-readwrite"},
    Option{"-readonly"},
    Option{"-nomount"},
    Option{"-verify"},
    Option{"-noverify"},
    Option{"-autoopen"},
    Option{"-noautoopen"},
    Option{"-nobrowse"},
    Option{"-plist"},
    Option{"-puppetstrings"},
};
int attachImage(Session& session);

inline constexpr std::array detachOptions{Option{"-force"}};
int detachImage(Session& session);

inline constexpr std::array convertOptions{
    Option{"-format", true},
    Option{"-o", true},
    Option{"-imagekey", true},
    Option{"-ov"},
    Option{"-puppetstrings"},
};
int convertImage(Session& session);

inline constexpr std::array verifyOptions{Option{"-puppetstrings"}};
int verifyImage(Session& session);

inline constexpr std::array checksumOptions{
    Option{"-type", true}, Option{"-plist"}, Option{"-puppetstrings"}};
int printChecksum(Session& session);

inline constexpr std::array infoOptions{Option{"-plist"}};
int printAttachedImages(Session& session);
int printImageInfo(Session& session);

/// The bytes of "-size 40m": b (sectors), k, m, g or t after the number, bytes without; cut to
/// whole sectors. Throws UsageError.
uint64_t sizeFrom(const std::string& text);

/// The level in "-imagekey zlib-level=N" or "bzip2-level=N"; throws UsageError for other keys.
std::optional<int> compressionLevel(const Arguments& arguments);

/// `path` with ".dmg" behind, unless it ends so in capital or small letters. Throws
/// std::system_error (EISDIR) for a folder's name.
std::filesystem::path imagePath(std::filesystem::path path);

} // namespace tools
