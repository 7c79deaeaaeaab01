#include "archive/LibArchive.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"

#include <cerrno>
#include <system_error>

namespace archive {

Utf8Names::Utf8Names()
    : m_locale(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
    , m_before(nullptr)
{
    if (m_locale == nullptr)
        bytes::throwErrno("the locale C.UTF-8");
    m_before = ::uselocale(m_locale);
}

Utf8Names::~Utf8Names()
{
    ::uselocale(m_before);
    ::freelocale(m_locale);
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
