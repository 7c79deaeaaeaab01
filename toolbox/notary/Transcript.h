#pragma once

#include "notary/Service.h"

#include <filesystem>
#include <iosfwd>
#include <string>

namespace notary {

/// How the service's tool tells what happens: for people, or one JSON object at the end.
enum class OutputFormat { normal, json };

/// Writes a run's report. What belongs together is one write, because readers look for words in
/// whatever they get at once. Reports of the local authority say whose they are.
class Transcript {
public:
    Transcript(std::ostream& out, OutputFormat format, bool local);

    void checking(const std::string& fileName);
    void idReceived(const std::string& id);
    /// Of the bytes that are to be sent; more than one call only for people.
    void sent(uint64_t count, uint64_t total);
    void uploaded(const std::string& id, const std::filesystem::path& path);
    void waiting();
    void polled(const std::string& status);
    /// `log` is where the developer log lies, "" where there is none.
    void decided(const Submission& submission, const std::filesystem::path& log);

    void history(const std::vector<Submission>& submissions);
    void info(const Submission& submission);
    void logSaved(const std::string& id, const std::filesystem::path& path);

private:
    void write(const std::string& text);
    std::string note() const;

    std::ostream& m_out;
    OutputFormat m_format;
    bool m_local;
    std::string m_dots;
    int m_tenths = -1; // of the upload, shown so far
};

} // namespace notary
