#include "udif/ImageError.h"

namespace udif {

namespace {

std::string textOf(ImageError::Case which, const std::string& detail)
{
    switch (which) {
    case ImageError::Case::encrypted:
        return "Authentication error";
    case ImageError::Case::notRecognized:
        return "image not recognized";
    case ImageError::Case::unknownFormat:
        return "\"" + detail + "\" is not an image format";
    case ImageError::Case::formatNotWritable:
        return "this version can't write " + detail + " images yet";
    case ImageError::Case::notWritable:
        return "the image is read-only";
    case ImageError::Case::interrupted:
        return "Interrupted system call";
    }
    return {};
}

} // namespace

ImageError::ImageError(Case which, const std::string& detail)
    : std::runtime_error(textOf(which, detail))
    , m_which(which)
{ }

} // namespace udif
