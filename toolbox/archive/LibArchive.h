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

/// libarchive turns names into the thread's locale and back. While one lives that is UTF-8,
/// whatever the user's is, so that names stay as they are.
class Utf8Names {
public:
    Utf8Names();
    ~Utf8Names();
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t m_locale;
    locale_t m_before;
};

/// Throws for libarchive's last error: bytes::FormatError when the input is at fault,
/// std::system_error when the host is.
[[noreturn]] void throwArchiveError(archive_object* object, const std::string& what);

} // namespace archive
