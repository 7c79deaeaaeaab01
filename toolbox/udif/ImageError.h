#pragma once

#include <stdexcept>
#include <string>

namespace udif {

/// Why an image or a format can't be used although nothing is damaged. Damage is a
/// bytes::FormatError, a failing host a std::system_error.
class ImageError : public std::runtime_error {
public:
    enum class Case {
        encrypted, // we have no password
        notRecognized, // not a disk image
        unknownFormat, // a format code that does not exist
        formatNotWritable, // a format that this version only knows by name
        notWritable, // asked to write into a read-only image
        interrupted, // the caller's stop request
    };

    /// `detail` is the format code or path where the case has one.
    explicit ImageError(Case which, const std::string& detail = {});

    Case which() const { return m_which; }

private:
    Case m_which;
};

} // namespace udif
