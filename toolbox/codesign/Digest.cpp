#include "codesign/Digest.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <exception>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>
#include <thread>

namespace codesign {

namespace {

struct Kind {
    HashType type;
    const char* name;
    const char* algorithm;
    std::size_t size;
    int strength;
};

constexpr Kind kinds[] = {
    {HashType::sha1, "sha1", "SHA1", 20, 1},
    {HashType::sha256, "sha256", "SHA2-256", 32, 3},
    {HashType::sha256Truncated, "sha256-truncated", "SHA2-256", 20, 2},
    {HashType::sha384, "sha384", "SHA2-384", 48, 5},
    {HashType::sha512, "sha512", "SHA2-512", 64, 4},
};

constexpr std::size_t piece = 1U << 20;

const Kind& kindOf(HashType type)
{
    const auto found = std::ranges::find(kinds, type, &Kind::type);
    assert(found != std::end(kinds));
    return *found;
}

/// Looking an algorithm up costs more than hashing a page with it, so each is fetched once.
const EVP_MD* algorithmOf(HashType type)
{
    static const auto fetched = [] {
        std::array<EVP_MD*, std::size(kinds)> algorithms{};
        for (std::size_t i = 0; i < std::size(kinds); ++i)
            algorithms[i] = EVP_MD_fetch(nullptr, kinds[i].algorithm, nullptr);
        return algorithms;
    }();
    return fetched[static_cast<std::size_t>(&kindOf(type) - kinds)];
}

class Hasher {
public:
    explicit Hasher(HashType type)
        : m_algorithm(algorithmOf(type))
        , m_size(sizeOf(type))
        , m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (m_algorithm == nullptr || !m_context)
            throw std::runtime_error("this OpenSSL lacks a hash that code signatures need");
        start();
    }

    void add(std::span<const std::byte> data)
    {
        require(EVP_DigestUpdate(m_context.get(), data.data(), data.size()));
    }

    /// Writes the digest and begins anew.
    void finish(std::span<std::byte> out)
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> whole{};
        require(EVP_DigestFinal_ex(m_context.get(), whole.data(), nullptr));
        std::ranges::copy(std::as_bytes(std::span(whole)).first(m_size), out.begin());
        start();
    }

    std::size_t size() const { return m_size; }

private:
    void start() { require(EVP_DigestInit_ex(m_context.get(), m_algorithm, nullptr)); }
    static void require(int success)
    {
        if (success != 1)
            throw std::runtime_error("hashing failed");
    }

    const EVP_MD* m_algorithm;
    std::size_t m_size;
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

/// Hashes the pages [first, last) of `source` into their places in `out`.
void digestPages(HashType type, const bytes::ByteSource& source, uint64_t length, uint64_t pageSize,
    uint64_t first, uint64_t last, std::span<std::byte> out)
{
    Hasher hasher(type);
    const uint64_t pagesAPiece = std::max<uint64_t>(1, piece / pageSize);
    for (uint64_t page = first; page < last;) {
        const uint64_t count = std::min(pagesAPiece, last - page);
        const uint64_t begin = page * pageSize;
        const uint64_t end = std::min(length, (page + count) * pageSize);
        const auto data = source.read(begin, static_cast<std::size_t>(end - begin));
        for (uint64_t i = 0; i < count; ++i, ++page) {
            const std::size_t at = static_cast<std::size_t>(i * pageSize);
            const std::size_t size = std::min(static_cast<std::size_t>(pageSize), data.size() - at);
            hasher.add(std::span(data).subspan(at, size));
            hasher.finish(out.subspan(static_cast<std::size_t>(page) * hasher.size()));
        }
    }
}

} // namespace

const char* nameOf(HashType type)
{
    return kindOf(type).name;
}

std::size_t sizeOf(HashType type)
{
    return kindOf(type).size;
}

bool isHashType(uint8_t number)
{
    return std::ranges::any_of(
        kinds, [&](const Kind& kind) { return static_cast<uint8_t>(kind.type) == number; });
}

int strengthOf(HashType type)
{
    return kindOf(type).strength;
}

Digest digestOf(HashType type, std::span<const std::byte> data)
{
    Hasher hasher(type);
    hasher.add(data);
    Digest digest(hasher.size());
    hasher.finish(digest);
    return digest;
}

Digest digestOf(HashType type, const bytes::ByteSource& source, uint64_t length)
{
    Hasher hasher(type);
    for (uint64_t at = 0; at < length; at += piece) {
        const auto size = static_cast<std::size_t>(std::min<uint64_t>(piece, length - at));
        hasher.add(source.read(at, size));
    }
    Digest digest(hasher.size());
    hasher.finish(digest);
    return digest;
}

std::vector<std::byte> pageDigests(
    HashType type, const bytes::ByteSource& source, uint64_t length, uint64_t pageSize)
{
    if (pageSize == 0)
        return digestOf(type, source, length);

    const uint64_t pages = (length + pageSize - 1) / pageSize;
    std::vector<std::byte> out(static_cast<std::size_t>(pages) * sizeOf(type));
    const uint64_t workers =
        std::clamp<uint64_t>(pages / 256, 1, std::max(1U, std::thread::hardware_concurrency()));

    std::vector<std::exception_ptr> failures(workers);
    {
        std::vector<std::jthread> threads;
        for (uint64_t i = 0; i < workers; ++i) {
            threads.emplace_back([&, i] {
                try {
                    digestPages(type, source, length, pageSize, pages * i / workers,
                        pages * (i + 1) / workers, out);
                } catch (...) {
                    failures[i] = std::current_exception();
                }
            });
        }
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
    return out;
}

std::string hexOf(std::span<const std::byte> data)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(data.size() * 2);
    for (const std::byte byte : data) {
        text.push_back(digits[std::to_integer<unsigned>(byte) >> 4]);
        text.push_back(digits[std::to_integer<unsigned>(byte) & 15]);
    }
    return text;
}

} // namespace codesign
