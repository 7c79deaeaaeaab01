#include "udif/ChunkCodecs.h"

#include "bytes/FormatError.h"

#include <bzlib.h>
#include <new>

namespace udif {

namespace {

/// One decoder run; a chunk may hold several streams, one behind the other.
class BzipStream {
public:
    BzipStream()
    {
        if (BZ2_bzDecompressInit(&m_stream, 0, 0) != BZ_OK)
            throw std::bad_alloc();
    }
    ~BzipStream() { BZ2_bzDecompressEnd(&m_stream); }
    BzipStream(const BzipStream&) = delete;
    BzipStream& operator=(const BzipStream&) = delete;

    /// Takes from both spans what one stream uses.
    void run(std::span<const std::byte>& stored, std::span<std::byte>& content)
    {
        // The library takes its input as non-const, but only reads it.
        m_stream.next_in = const_cast<char*>(reinterpret_cast<const char*>(stored.data()));
        m_stream.avail_in = static_cast<unsigned>(stored.size());
        m_stream.next_out = reinterpret_cast<char*>(content.data());
        m_stream.avail_out = static_cast<unsigned>(content.size());
        // Everything is at hand, so that one call reaches the end or never will.
        const int result = BZ2_bzDecompress(&m_stream);
        if (result != BZ_STREAM_END)
            throw bytes::FormatError("a bzip2 chunk is damaged");
        stored = stored.last(m_stream.avail_in);
        content = content.last(m_stream.avail_out);
    }

private:
    bz_stream m_stream{};
};

void decodeBzip2(std::span<const std::byte> stored, std::span<std::byte> content)
{
    do {
        BzipStream().run(stored, content);
    } while (!content.empty());
}

class Bzip2Encoder final : public ChunkEncoder {
public:
    explicit Bzip2Encoder(int level)
        : m_level(clampedLevel(level))
    { }

    std::vector<std::byte> encode(std::span<const std::byte> content) override
    {
        std::vector<std::byte> out(content.size() - 1);
        auto length = static_cast<unsigned>(out.size());
        char* source = const_cast<char*>(reinterpret_cast<const char*>(content.data()));
        const int result = BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(out.data()), &length,
            source, static_cast<unsigned>(content.size()), m_level, 0, 0);
        if (result == BZ_MEM_ERROR)
            throw std::bad_alloc();
        out.resize(result == BZ_OK ? length : 0);
        return out;
    }

private:
    int m_level;
};

// Blocks of 600,000 bytes: a chunk of 1 MiB is then two blocks of similar length, where 9 would
// make a large one that leaves the processor's cache and a small one that shrinks badly. On machine
// code 9 saves 0.7 % and on text 2.6 %, and takes a fifth longer to write and a quarter longer to
// read.
constexpr int defaultBzip2Level = 6;

std::unique_ptr<ChunkEncoder> makeBzip2Encoder(int level)
{
    return std::make_unique<Bzip2Encoder>(level);
}

} // namespace

const ChunkCodec bzip2Codec{
    ChunkType::bzip2, "bzip2", decodeBzip2, makeBzip2Encoder, defaultBzip2Level};

} // namespace udif
