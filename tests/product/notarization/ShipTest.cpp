#include "Shipped.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Runs `command` until its output has `mark`, then sends it `number`; gives how it ended.
int endAt(const Rehearsal& user, const std::string& mark, int number)
{
    ProgramRun program(user.shipping(), user.folder());
    const auto limit = std::chrono::steady_clock::now() + 60s;
    while (program.output().find(mark) == std::string::npos) {
        if (std::chrono::steady_clock::now() > limit) {
            ADD_FAILURE() << "never seen: " << mark << "\n" << program.errors();
            break;
        }
        std::this_thread::sleep_for(5ms);
    }
    program.signal(number);
    return program.wait();
}

nlohmann::json doneIn(const nlohmann::json& ledger)
{
    nlohmann::json done = nlohmann::json::object();
    for (const auto& [name, record] : ledger.items()) {
        if (record.at("outcome") == "done")
            done[name] = record;
    }
    return done;
}

/// Ends the command at `mark`. What was done before must still be as it was.
nlohmann::json stopAt(const Rehearsal& user, const std::string& mark, int number, int status)
{
    const nlohmann::json before = doneIn(user.ledger());
    EXPECT_EQ(endAt(user, mark, number), status) << mark;
    nlohmann::json ledger = user.ledger();
    for (const auto& [name, record] : before.items())
        EXPECT_EQ(ledger.at(name), record) << mark << ": " << name << " was done again";
    return ledger;
}

} // namespace

TEST(Ship, EndedAtEachStepItGoesOn)
{
    Rehearsal user;
    const auto startOf = [](const char* step) {
        return std::string("\"state\":\"started\",\"step\":\"") + step + '"';
    };
    const auto killAt = [&](const char* step) {
        stopAt(user, startOf(step), SIGKILL, 1000 + SIGKILL);
    };
    const auto interruptAt = [&](const char* step) {
        stopAt(user, startOf(step), SIGTERM, 130);
        EXPECT_FALSE(fs::exists(user.image().string() + ".ledger.lock")) << step;
    };
    interruptAt("sign-application"); // nothing of the step listens for signals yet
    killAt("notarize-application");
    const auto submitted = stopAt(user, "\"event\":\"submission\"", SIGTERM, 130);
    interruptAt("build-image");
    EXPECT_EQ(user.ledger().at("notarize-application").at("submission"),
        submitted.at("notarize-application").at("submission"))
        << "a submission outlives the command";
    killAt("sign-image");
    interruptAt("notarize-image");
    killAt("verify-image");
    const nlohmann::json done = doneIn(user.ledger());
    EXPECT_EQ(done.size(), 5U);
    ASSERT_EQ(user.run(user.shipping()), 0) << user.errors;
    EXPECT_EQ(user.ledger(), done);
    EXPECT_EQ(user.run({vandor(), "verify", user.image().string()}), 0) << user.output;
}

TEST(Ship, OneCommandLeadsToAnImageThatIsReady)
{
    Rehearsal& user = Shipped::user();
    EXPECT_EQ(user.submissions(), 2U);
    EXPECT_EQ(user.run({vandor(), "verify", user.image().string()}), 0) << user.output;
    EXPECT_NE(user.output.find("Ready for Distribution!"), std::string::npos);
    EXPECT_EQ(user.run({vandor(), "inspect", user.app().string()}), 0) << user.output;
    EXPECT_EQ(user.run({"7zz", "t", "-tdmg", user.image().string()}), 0) << user.output;
    EXPECT_EQ(user.run({Rehearsal::tool("/usr/bin/codesign"), "--verify", "--deep", "--strict",
                  user.app().string()}),
        0)
        << user.errors;

    const nlohmann::json before = user.ledger();
    const std::string image = contentOf(user.image());
    ASSERT_EQ(user.run(user.shipping()), 0) << user.errors;
    EXPECT_EQ(user.events().back().at("rehearsal"), true) << "it says what it is worth";
    EXPECT_EQ(user.ledger(), before);
    EXPECT_EQ(contentOf(user.image()), image);
    EXPECT_EQ(user.submissions(), 2U) << "nothing is done twice";
}
