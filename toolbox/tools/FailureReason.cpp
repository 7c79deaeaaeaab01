#include "tools/FailureReason.h"

#include "bytes/FormatError.h"
#include "tools/Text.h"
#include "udif/ImageError.h"
#include "volumes/StateFolder.h"
#include "volumes/VolumeError.h"

#include <cerrno>
#include <new>
#include <system_error>

namespace tools {

namespace {

std::string reasonInWords(const std::exception& failure)
{
    if (dynamic_cast<const volumes::StateFolderError*>(&failure) != nullptr)
        return failure.what();
    if (const auto* host = dynamic_cast<const std::system_error*>(&failure))
        return host->code().value() == EBUSY ? "Resource busy" : host->code().message();
    if (dynamic_cast<const bytes::FormatError*>(&failure) != nullptr)
        return std::string("corrupt image (") + failure.what() + ")";
    if (dynamic_cast<const volumes::VolumeError*>(&failure) != nullptr
        || dynamic_cast<const udif::ImageError*>(&failure) != nullptr)
        return failure.what();
    if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr)
        return "Cannot allocate memory";
    return std::string("internal error (") + failure.what() + ")";
}

} // namespace

std::string reasonOf(const std::exception& failure)
{
    return oneLine(reasonInWords(failure));
}

} // namespace tools
