#pragma once

#include "notary/NotaryApi.h"

namespace notary {

/// How a file is cut for its way to the storage.
struct UploadSizes {
    uint64_t largestWhole = uint64_t{5} << 30; // more can't be sent by one request
    uint64_t part = uint64_t{64} << 20;
};

/// Sends a submitted file to the storage that the service named. Each request is tried again when
/// the network or the storage fails for a moment. Throws NetworkError, ServiceError, and
/// std::system_error for the file.
class Uploader {
public:
    using Progress = std::function<void(uint64_t sent)>;

    /// Borrows client and clock. The storage of a service that isn't the public one lies below it.
    Uploader(const HttpClient& client, Clock& clock, const ServicePlace& place,
        const UploadSizes& sizes = {});

    /// `sha256` is the file's digest in hexadecimal.
    void upload(const bytes::ByteSource& file, const std::string& sha256, const UploadPlace& place,
        const Progress& progress) const;

private:
    struct Target {
        std::string root; // of the URL
        std::string host;
        std::string path; // not encoded
        RequestSigner signer;
    };
    struct Call {
        std::string method;
        std::map<std::string, std::string> query{};
        std::string body{};
        std::string bodyHash{};
    };

    Target targetFor(const UploadPlace& place) const;
    /// `part` is sent in place of the call's body when it has a source.
    HttpResponse send(const Target& target, const Call& call, const HttpUpload& part = {}) const;
    void uploadParts(
        const bytes::ByteSource& file, const Target& target, const Progress& progress) const;

    const HttpClient& m_client;
    Clock& m_clock;
    ServicePlace m_service;
    UploadSizes m_sizes;
};

} // namespace notary
