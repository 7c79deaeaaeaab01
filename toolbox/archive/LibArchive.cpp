#include "archive/LibArchive.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"

#include <cerrno>
#include <system_error>

namespace archive {

namespace {

/// Lives as long as the program: making one for each entry would take longer than the entry.
locale_t localeNamed(const char* name)
{
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, name, nullptr);
    if (locale == nullptr)
        bytes::throwErrno(std::string("the locale ") + name);
    return locale;
}

locale_t localeFor(NameEncoding::Kind kind)
{
    static const locale_t utf8 = localeNamed("C.UTF-8");
    static const locale_t plain = localeNamed("C");
    return kind == NameEncoding::Kind::utf8 ? utf8 : plain;
}

} // namespace

NameEncoding::NameEncoding(Kind kind)
    : m_before(::uselocale(localeFor(kind)))
{ }

NameEncoding::~NameEncoding()
{
    ::uselocale(m_before);
}

void throwArchiveError(archive_object* object, const std::string& what)
{
    const int code = ::archive_errno(object);
    const char* text = ::archive_error_string(object);
    // Its own code for other faults is -1; of the host's it takes EILSEQ for bad input.
    if (code > 0 && code != EILSEQ)
        throw std::system_error(code, std::generic_category(), what);
    throw bytes::FormatError(what + ": " + (text != nullptr ? text : "not readable as an archive"));
}

} // namespace archive
