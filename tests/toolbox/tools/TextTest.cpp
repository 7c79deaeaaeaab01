#include "tools/Text.h"

#include "tools/Arguments.h"
#include "tools/Progress.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

using tools::Align;

TEST(Text, ColumnsCountCharactersAndCutWhatIsTooLong)
{
    struct Row {
        const char* what;
        std::string text;
        std::size_t width;
        Align align;
        std::string column;
    };
    const Row rows[] = {
        {"padded behind", "/dev/disk4", 12, Align::left, "/dev/disk4  "},
        {"padded in front", "name", 6, Align::right, "  name"},
        {"cut", "EF57347C-0000-11AA-AA11-00306543ECAC", 31, Align::left,
            "EF57347C-0000-11AA-AA11-0030654"},
        {"two bytes are one character", "éé", 3, Align::left, "éé "},
        {"not cut inside a character", "aéb", 2, Align::right, "aé"},
        {"empty", "", 2, Align::left, "  "},
    };
    for (const Row& row : rows)
        EXPECT_EQ(tools::column(row.text, row.width, row.align), row.column) << row.what;
}

TEST(Text, NumbersLookAsAMacPrintsThem)
{
    EXPECT_EQ(tools::elapsedText(0.007868), " 7.868ms");
    EXPECT_EQ(tools::elapsedText(31.848), "31.848s");
    EXPECT_EQ(tools::elapsedText(233.244), "3m 53.244s");
    EXPECT_EQ(tools::elapsedText(61.5), "1m  1.500s");
    EXPECT_EQ(tools::crcText(0xAB), "CRC32 $000000AB");
    EXPECT_EQ(tools::decimal(68.14, 1), "68.1");
    EXPECT_EQ(tools::oneLine("a\nb\r"), "a b ");
}

TEST(Arguments, AreTakenApartWhereverTheyStand)
{
    constexpr std::array known{tools::Option{"-ov"}, tools::Option{"-o", true}};
    const std::vector<std::string> words{"in", "-o", "-ov", "-o", "out", "-"};
    const tools::Arguments arguments(words, known);
    EXPECT_EQ(arguments.value("-o"), "out")
        << "the last counts, and a value may look like anything";
    EXPECT_FALSE(arguments.has("-ov"));
    EXPECT_EQ(arguments.operands(), (std::vector<std::string>{"in", "-"}));
    EXPECT_THROW(arguments.onlyOperand(), tools::UsageError);
    EXPECT_THROW(arguments.required("-ov"), tools::UsageError);
    EXPECT_THROW(tools::Arguments(std::vector<std::string>{"-x"}, known), tools::UsageError);
    EXPECT_THROW(tools::Arguments(std::vector<std::string>{"-o"}, known), tools::UsageError);
}

TEST(Progress, IsALineOfDotsForPeopleWhoWaitAndNumbersForPrograms)
{
    static std::chrono::steady_clock::time_point now;
    const auto clock = [] { return now; };
    std::ostringstream line, numbers;
    {
        tools::Progress dots(line, tools::Progress::Form::dots, clock);
        dots(1, 2);
        EXPECT_EQ(line.str(), "") << "quick jobs show none";
        now += std::chrono::seconds(3);
        dots(1, 2);
        dots(2, 2);
        dots.pause();
        dots.pause();
    }
    EXPECT_EQ(line.str(), std::string(70, '.') + "\n");
    tools::Progress percents(numbers, tools::Progress::Form::percents);
    for (const uint64_t done : {1, 1, 4, 4})
        percents(done, 8);
    percents(8, 8);
    EXPECT_EQ(numbers.str(), "PERCENT:12.500000\nPERCENT:50.000000\nPERCENT:100.000000\n");
}

TEST(Progress, TellsTheProgramThatAskedBesideWhatItShows)
{
    std::signal(SIGPIPE, SIG_IGN); // as every tool does
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
    ::setenv("VANDOR_PROGRESS_FD", std::to_string(ends[1]).c_str(), 1);
    std::ostringstream shown;
    tools::Progress progress(shown, tools::Progress::Form::dots);
    progress(1, 4);
    std::string told(64, '\0');
    told.resize(static_cast<std::size_t>(::read(ends[0], told.data(), told.size())));
    EXPECT_EQ(told, "PERCENT:25.000000\n");
    for (uint64_t done = 1; done < 100'000; ++done)
        progress(done, 100'000); // more than the pipe holds
    ::close(ends[0]);
    progress(1, 1);
    ::close(ends[1]);
    ::setenv("VANDOR_PROGRESS_FD", "2", 1);
    tools::Progress(shown, tools::Progress::Form::dots)(1, 1);
    ::unsetenv("VANDOR_PROGRESS_FD");
    EXPECT_EQ(shown.str(), "");
}
