#include "notary/Transcript.h"

#include "notary/TicketAuthority.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <ostream>

namespace notary {

using nlohmann::json;
namespace fs = std::filesystem;

namespace {

/// A day of waiting must not make lines without end.
constexpr std::size_t mostDots = 60;

std::string sizeText(uint64_t bytes)
{
    const bool small = bytes < 1'000'000;
    std::array<char, 40> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.2f %s",
        static_cast<double>(bytes) / (small ? 1e3 : 1e6), small ? "KB" : "MB");
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string percentText(uint64_t count, uint64_t total)
{
    std::array<char, 40> text{};
    const double share = total == 0 ? 1 : static_cast<double>(count) / static_cast<double>(total);
    const int length = std::snprintf(text.data(), text.size(), "%.2f%%", 100 * share);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string factsText(const Submission& submission, const char* indent)
{
    return std::string(indent) + "createdDate: " + submission.createdDate + "\n" + indent
        + "id: " + submission.id + "\n" + indent + "name: " + submission.name + "\n" + indent
        + "status: " + submission.status + "\n";
}

json factsJson(const Submission& submission)
{
    return {{"createdDate", submission.createdDate}, {"id", submission.id},
        {"name", submission.name}, {"status", submission.status}};
}

std::string lineOf(json report, bool local)
{
    if (local)
        report["note"] = localNote;
    return report.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace

Transcript::Transcript(std::ostream& out, OutputFormat format, bool local)
    : m_out(out)
    , m_format(format)
    , m_local(local)
{ }

void Transcript::checking(const std::string& fileName)
{
    if (m_format == OutputFormat::normal)
        write("Conducting pre-submission checks for " + fileName
            + (m_local ? " and handing it to the local authority of this host...\n" + note()
                       : " and initiating connection to the Apple notary service...\n"));
}

void Transcript::idReceived(const std::string& id)
{
    if (m_format == OutputFormat::normal)
        write("Submission ID received\n  id: " + id + "\n");
}

void Transcript::sent(uint64_t count, uint64_t total)
{
    const int tenths = total == 0 ? 10 : static_cast<int>(count / ((total + 9) / 10));
    if (m_format != OutputFormat::normal || m_local || (tenths <= m_tenths && count != total))
        return;
    m_tenths = tenths;
    write("\rUpload progress: " + percentText(count, total) + " (" + sizeText(count) + " of "
        + sizeText(total) + ")   ");
}

void Transcript::uploaded(const std::string& id, const fs::path& path)
{
    if (m_format == OutputFormat::json)
        return;
    write(std::string(m_local ? "Successfully handed over file" : "\nSuccessfully uploaded file")
        + "\n  id: " + id + "\n  path: " + path.string() + "\n");
}

void Transcript::waiting()
{
    if (m_format == OutputFormat::normal)
        write("Waiting for processing to complete.\n");
}

void Transcript::polled(const std::string& status)
{
    if (m_format == OutputFormat::json)
        return;
    if (m_dots.size() < mostDots)
        m_dots += '.';
    write("\rCurrent status: " + status + m_dots);
}

void Transcript::decided(const Submission& submission, const fs::path& log)
{
    if (m_format == OutputFormat::json) {
        json report{{"id", submission.id}, {"status", submission.status},
            {"message", "Processing complete"}};
        if (!log.empty())
            report["log"] = log.string();
        return write(lineOf(std::move(report), m_local));
    }
    write("Processing complete\n  id: " + submission.id + "\n  status: " + submission.status + "\n"
        + (log.empty() ? "" : "  log: " + log.string() + "\n") + note());
}

void Transcript::history(const std::vector<Submission>& submissions)
{
    if (m_format == OutputFormat::json) {
        json list = json::array();
        for (const Submission& submission : submissions)
            list.push_back(factsJson(submission));
        return write(
            lineOf({{"history", list}, {"message", "Successfully received submission history."}},
                m_local));
    }
    std::string text = "Successfully received submission history.\n" + note();
    if (!submissions.empty())
        text += "  history\n";
    for (const Submission& submission : submissions)
        text += "    " + std::string(50, '-') + "\n" + factsText(submission, "    ");
    write(text);
}

void Transcript::info(const Submission& submission)
{
    if (m_format == OutputFormat::json) {
        json report = factsJson(submission);
        report["message"] = "Successfully received submission info";
        return write(lineOf(std::move(report), m_local));
    }
    write("Successfully received submission info\n" + factsText(submission, "  ") + note());
}

void Transcript::logSaved(const std::string& id, const fs::path& path)
{
    if (m_format == OutputFormat::json)
        return write(lineOf({{"id", id}, {"location", path.string()},
                                {"message", "Successfully downloaded submission log"}},
            m_local));
    write("Successfully downloaded submission log\n  id: " + id + "\n  location: " + path.string()
        + "\n" + note());
}

std::string Transcript::note() const
{
    return m_local ? std::string("  ") + localNote + "\n" : "";
}

void Transcript::write(const std::string& text)
{
    m_out << text;
    m_out.flush();
}

} // namespace notary
