#pragma once

#include <locale.h>
#include <memory>
#include <string>

// The library's central structure has the name of this room. It is only ever pointed to, and by
// functions of C, so it may have another name here.
#define archive archive_object
#include <archive.h>
#include <archive_entry.h>
#undef archive

/// Owners for libarchive's objects, and its errors as exceptions.
namespace archive {

struct FreeArchive {
    void operator()(archive_object* object) const { ::archive_free(object); }
};
using ArchiveOwner = std::unique_ptr<archive_object, FreeArchive>;

struct FreeEntry {
    void operator()(archive_entry* entry) const { ::archive_entry_free(entry); }
};
using EntryOwner = std::unique_ptr<archive_entry, FreeEntry>;

/// libarchive takes names for text in the thread's locale. While one lives that is not the
/// user's, but one that suits `kind`.
class NameEncoding {
public:
    enum class Kind {
        utf8,
        unknown, // names are stored as they are, and not marked
    };

    explicit NameEncoding(Kind kind);
    ~NameEncoding();
    NameEncoding(const NameEncoding&) = delete;
    NameEncoding& operator=(const NameEncoding&) = delete;

private:
    locale_t m_before;
};

/// Throws for libarchive's last error: bytes::FormatError when the input is at fault,
/// std::system_error when the host is.
[[noreturn]] void throwArchiveError(archive_object* object, const std::string& what);

} // namespace archive
