#include "keychain/OpenSsl.h"

#include <openssl/err.h>

namespace keychain {

namespace {

std::string lastReason()
{
    const unsigned long code = ERR_peek_last_error();
    ERR_clear_error();
    const char* reason = ERR_reason_error_string(code);
    return reason == nullptr ? std::string() : std::string(": ") + reason;
}

} // namespace

CryptoError::CryptoError(const std::string& what)
    : std::runtime_error(what + lastReason())
{ }

void require(int success, const char* what)
{
    if (success != 1)
        throw CryptoError(what);
}

void forgetErrors()
{
    ERR_clear_error();
}

BioOwner readingFrom(std::span<const std::byte> data)
{
    if (data.size() > INT32_MAX)
        throw CryptoError("too much data");
    return required(
        BioOwner(BIO_new_mem_buf(data.data(), static_cast<int>(data.size()))), "reading");
}

BioOwner writingToMemory()
{
    return required(BioOwner(BIO_new(BIO_s_mem())), "writing");
}

std::vector<std::byte> writtenTo(BIO* sink)
{
    char* raw = nullptr;
    const long length = BIO_get_mem_data(sink, &raw);
    const auto view =
        std::as_bytes(std::span(raw, length < 0 ? 0 : static_cast<std::size_t>(length)));
    return {view.begin(), view.end()};
}

} // namespace keychain
