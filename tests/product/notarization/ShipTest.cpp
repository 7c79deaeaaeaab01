#include "Rehearsal.h"

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

std::string startOf(const char* step)
{
    return std::string("\"state\":\"started\",\"step\":\"") + step + '"';
}

TEST(Ship, OneCommandLeadsToAnImageThatIsReady)
{
    Rehearsal user;
    ASSERT_EQ(user.run(user.shipping()), 0) << user.errors;
    EXPECT_EQ(user.events().back().at("rehearsal"), true) << "it says what it is worth";
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
    EXPECT_EQ(user.ledger(), before);
    EXPECT_EQ(contentOf(user.image()), image);
    EXPECT_EQ(user.submissions(), 2U) << "nothing is done twice";
}

TEST(Ship, KilledAtEachStepItGoesOn)
{
    Rehearsal user;
    const char* const steps[] = {"sign-application", "notarize-application", "build-image",
        "sign-image", "notarize-image", "verify-image"};
    nlohmann::json done = nlohmann::json::object();
    for (const char* const step : steps) {
        EXPECT_EQ(endAt(user, startOf(step), SIGKILL), 1000 + SIGKILL) << step;
        const nlohmann::json ledger = user.ledger();
        for (const auto& [name, record] : done.items())
            EXPECT_EQ(ledger.at(name), record) << step << ": " << name << " was done again";
        done = nlohmann::json::object();
        for (const auto& [name, record] : ledger.items()) {
            if (record.at("outcome") == "done")
                done[name] = record;
        }
    }
    EXPECT_EQ(done.size(), 5U);
    ASSERT_EQ(user.run(user.shipping()), 0) << user.errors;
    EXPECT_EQ(user.ledger(), done);
    EXPECT_EQ(user.run({vandor(), "verify", user.image().string()}), 0) << user.output;
}

TEST(Ship, ASubmissionOutlivesTheCommand)
{
    Rehearsal user;
    const int status = endAt(user, "\"event\":\"submission\"", SIGTERM);
    EXPECT_EQ(status, 130);
    const nlohmann::json interrupted = user.ledger();
    const auto submission = interrupted.at("notarize-application").at("submission");
    ASSERT_EQ(user.run(user.shipping()), 0) << user.errors;
    EXPECT_EQ(user.ledger().at("notarize-application").at("submission"), submission);
    EXPECT_EQ(user.ledger().at("sign-application"), interrupted.at("sign-application"));
    EXPECT_EQ(user.submissions(), 2U);
}

} // namespace
