#include "NotaryBench.h"
#include "tools/Codesign.h"
#include "tools/Spctl.h"
#include "tools/Stapler.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* origin = "origin=Developer ID Application: Jane Doe (ABCDE12345)\n";
constexpr const char* localNote = "note=local stand-in authority, not Apple\n";

Outcome assess(const fs::path& path, const std::string& type = "install")
{
    return run(tools::spctl, {"-a", "-vvv", "-t", type, path});
}

Outcome staple(const fs::path& path)
{
    return run(tools::stapler, {"staple", path});
}

Outcome validate(const fs::path& path)
{
    return run(tools::stapler, {"validate", path});
}

/// What is done to an application, or to an image, before it is assessed.
struct Row {
    const char* name;
    std::function<void(const NotaryBench&, const fs::path&)> prepare;
    int status;
    std::string verdict; // what follows the path and its colon, up to the notes
    int stapleStatus = 65; // of validating
};

std::vector<Row> rowsWith(uint32_t flags)
{
    const auto sign = [flags](const NotaryBench& bench, const fs::path& path) {
        bench.sign(path, {.flags = flags});
    };
    const auto notarize = [sign](const NotaryBench& bench, const fs::path& path) {
        sign(bench, path);
        const fs::path file = fs::is_directory(path) ? bench.zip() : path;
        ASSERT_TRUE(NotaryBench::judge(file).accepted);
    };
    const auto finish = [notarize](const NotaryBench& bench, const fs::path& path) {
        notarize(bench, path);
        ASSERT_EQ(staple(path).status, 0);
    };
    const std::string good = std::string("accepted\nsource=Notarized Developer ID\n") + origin;
    return {
        {"unsigned", [](const auto&, const auto&) {}, 3, "rejected\nsource=no usable signature\n"},
        {"ad hoc",
            [](const NotaryBench& bench, const fs::path& path) {
                bench.sign(path, {.adhoc = true});
            },
            3, "rejected\n"},
        {"not notarized", sign, 3,
            std::string("rejected\nsource=Unnotarized Developer ID\n") + origin},
        {"notarized, without its ticket", notarize, 0, good},
        {"stapled", finish, 0, good, 0},
        {"stapled, read elsewhere",
            [finish](const NotaryBench& bench, const fs::path& path) {
                finish(bench, path);
                for (const auto& entry : fs::directory_iterator(NotaryBench::state() / "tickets"))
                    if (entry.is_regular_file())
                        fs::remove(entry);
            },
            0, good, 0},
        {"stapled by somebody whom this host doesn't know",
            [finish](const NotaryBench& bench, const fs::path& path) {
                finish(bench, path);
                fs::remove_all(NotaryBench::state() / "tickets");
            },
            3, std::string("rejected\nsource=Unnotarized Developer ID\n") + origin},
    };
}

void expectVerdict(const Row& row, const fs::path& path)
{
    const Outcome outcome = assess(path);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith(path.string() + ": " + row.verdict + "note="));
    // The notes must not look like a verdict to those who search for its words.
    const std::string notes = outcome.err.substr(outcome.err.find("note="));
    for (const char* word : {"accepted", "source=", "Timestamp", "Error:"})
        EXPECT_THAT(notes, Not(HasSubstr(word)));
    EXPECT_EQ(outcome.err.find(localNote) != std::string::npos, row.status == 0);
    EXPECT_EQ(validate(path).status, row.stapleStatus);
    EXPECT_EQ(
        run(tools::codesign, {"--verify", "-R=notarized", path}).status == 0, row.status == 0);
}

TEST(Assessment, OfAnApplicationFollowsFromSignatureAndTicket)
{
    for (const Row& row : rowsWith(codesign::flagRuntime)) {
        SCOPED_TRACE(row.name);
        const NotaryBench bench;
        row.prepare(bench, bench.app());
        expectVerdict(row, bench.app());
    }
}

TEST(Assessment, OfAnImageFollowsFromSignatureAndTicket)
{
    for (const Row& row : rowsWith(0)) {
        SCOPED_TRACE(row.name);
        const NotaryBench bench;
        bench.sign(bench.app());
        const fs::path image = bench.image();
        row.prepare(bench, image);
        expectVerdict(row, image);
        const Outcome opened = run(tools::spctl,
            {"-a", "-t", "open", "--context", "context:primary-signature", "-v", image});
        EXPECT_EQ(opened.status, row.status);
        EXPECT_THAT(run(tools::spctl, {"-a", "-t", "open", "-v", image}).err,
            HasSubstr(": rejected\nsource=Insufficient Context\n"));
    }
}

TEST(Assessment, GivesNoVerdictOnBrokenCode)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    const fs::path image = bench.image();
    bench.sign(image, {.flags = 0});
    flip(image, 1000);
    putContent(bench.app() / "Contents/Resources/added", "");
    const Outcome app = assess(bench.app());
    EXPECT_EQ(app.status, 1);
    EXPECT_EQ(app.err, bench.app().string() + ": a sealed resource is missing or invalid\n");
    const Outcome broken = assess(image);
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(broken.err,
        image.string() + ": invalid signature (code or signature have been modified)\n");
    EXPECT_EQ(assess(bench.folder() / "missing").err,
        (bench.folder() / "missing").string() + ": No such file or directory\n");
}

TEST(Assessment, RejectsWhatOnlyHoldsLoosely)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    ASSERT_TRUE(NotaryBench::judge(bench.zip()).accepted);
    putContent(bench.app() / "junk", "");
    EXPECT_THAT(
        assess(bench.app()).err, HasSubstr(": rejected\nsource=obsolete resource envelope"));
}

TEST(Assessment, KnowsApplicationsFromOtherCode)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    ASSERT_TRUE(NotaryBench::judge(bench.zip()).accepted);
    EXPECT_EQ(assess(bench.app(), "exec").status, 0);
    const Outcome other = assess(bench.sample.framework(), "execute");
    EXPECT_EQ(other.status, 3);
    EXPECT_THAT(other.err, HasSubstr("does not seem to be an app"));
    EXPECT_EQ(run(tools::spctl, {"-a", "-t", "dance", bench.app()}).status, 2);
    EXPECT_EQ(run(tools::spctl, {"--master-disable"}).status, 2);
}

TEST(Stapler, SpeaksAsTheMacs)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    const std::string head = "Processing: " + bench.app().string() + "\n";
    EXPECT_EQ(validate(bench.app()).out,
        head + "Hello Vandor.app does not have a ticket stapled to it.\n");
    const Outcome early = staple(bench.app());
    EXPECT_EQ(early.status, 65);
    EXPECT_THAT(early.out,
        AllOf(StartsWith(head), HasSubstr(") failed due to \"Record not found\".\n"),
            EndsWith("The staple and validate action failed! Error 65.\n")));

    ASSERT_TRUE(NotaryBench::judge(bench.zip()).accepted);
    EXPECT_EQ(
        staple(bench.app()).out, head + "The staple and validate action worked!\n" + localNote);
    EXPECT_EQ(validate(bench.app() / "").out, head + "The validate action worked!\n" + localNote);

    EXPECT_EQ(validate(bench.folder() / "missing").status, 66);
    EXPECT_EQ(validate(bench.zip()).status, 66);
    EXPECT_EQ(staple(bench.sample.framework()).status, 66);
    EXPECT_EQ(run(tools::stapler, {"glue", bench.app()}).status, 64);
}

TEST(Stapler, LeavesTheSignatureAsItWas)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    ASSERT_TRUE(NotaryBench::judge(bench.zip()).accepted);
    // Old bundles have a link to their seal where the ticket belongs.
    const fs::path place = bench.app() / "Contents/CodeResources";
    fs::create_symlink("_CodeSignature/CodeResources", place);
    ASSERT_EQ(staple(bench.app()).status, 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(place)));
    EXPECT_EQ(fs::status(place).permissions(), fs::perms(0644));

    const fs::path image = bench.image();
    bench.sign(image, {.flags = 0});
    const std::string before = contentOf(image);
    ASSERT_TRUE(NotaryBench::judge(image).accepted);
    ASSERT_EQ(staple(image).status, 0);
    const std::string once = contentOf(image);
    ASSERT_EQ(staple(image).status, 0);
    EXPECT_EQ(contentOf(image), once);
    const std::size_t ticketSize = fs::file_size(place);
    EXPECT_NEAR(static_cast<double>(once.size()), // a list of other code has another length
        static_cast<double>(before.size() + 16 + ticketSize), 21);

    for (const fs::path& path : {bench.app(), image}) {
        const Outcome verified =
            run(tools::codesign, {"--verify", "--deep", "--strict", "-v", path});
        EXPECT_EQ(verified.status, 0) << verified.err;
        EXPECT_THAT(
            run(tools::codesign, {"-dv", path}).err, HasSubstr("Notarization Ticket=stapled\n"));
    }
    EXPECT_EQ(std::system(("7zz t '" + image.string() + "' >/dev/null").c_str()), 0);
}

TEST(Stapler, TakesNoTicketOfOtherCode)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    ASSERT_TRUE(NotaryBench::judge(bench.zip()).accepted);
    ASSERT_EQ(staple(bench.app()).status, 0);
    const fs::path place = bench.app() / "Contents/CodeResources";
    const std::string ticket = contentOf(place);
    putContent(bench.app() / "Contents/Resources/added", "");
    bench.sign(bench.app());
    EXPECT_FALSE(fs::exists(place)); // a new signature has no use for it
    putContent(place, ticket);
    const Outcome outcome = validate(bench.app());
    EXPECT_EQ(outcome.status, 65);
    EXPECT_THAT(outcome.out, HasSubstr("the ticket is about other code"));
    EXPECT_THAT(assess(bench.app()).err, HasSubstr("source=Unnotarized Developer ID"));
    putContent(place, ticket.substr(0, ticket.size() / 2));
    EXPECT_EQ(validate(bench.app()).status, 65);
}

} // namespace
